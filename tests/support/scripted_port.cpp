#include "support/scripted_port.h"

namespace pendara {

int ScriptedPort::MsgBox(const std::string& text, int style, const std::string& title) {
    messages.push_back({text, style, title});
    if (msgAnswers_.empty()) {
        if (StyleButtons(style) == kVbOKOnly && !strictNotices) return kVbOK;
        throw UnexpectedDialog("unexpected message box: " + text);
    }
    int answer = msgAnswers_.front();
    msgAnswers_.pop_front();
    return answer;
}

std::string ScriptedPort::InputBox(const std::string& prompt, const std::string&, bool) {
    prompts.push_back(prompt);
    if (inputs_.empty()) throw UnexpectedDialog("unexpected input box: " + prompt);
    std::string answer = inputs_.front();
    inputs_.pop_front();
    return answer;
}

std::string ScriptedPort::SelectAccount(const std::string& title,
                                        const std::vector<AccountChoice>&) {
    if (accounts_.empty()) throw UnexpectedDialog("unexpected account look-up: " + title);
    std::string answer = accounts_.front();
    accounts_.pop_front();
    return answer;
}

bool ScriptedPort::ParameterDialog(const std::string& caption, ParameterValues& values,
                                   const ParameterKinds& kinds,
                                   const std::function<std::vector<AccountChoice>()>&) {
    parameterCaptions.push_back(caption);
    if (parameters_.empty()) throw UnexpectedDialog("unexpected parameter dialog: " + caption);
    ParameterAnswer answer = std::move(parameters_.front());
    parameters_.pop_front();
    return answer(caption, values, kinds);
}

void ScriptedPort::ShowReport(const ReportRequest& request, ReportScreenTarget target) {
    reports.emplace_back(request, target);
}

std::string ScriptedPort::AskSaveFile(const std::string& title, const std::string&,
                                      const std::string&) {
    if (saveFiles_.empty()) throw UnexpectedDialog("unexpected save dialog: " + title);
    std::string answer = saveFiles_.front();
    saveFiles_.pop_front();
    return answer;
}

void ScriptedPort::DoEvents() {
    ++doEventsCalls;
    if (onDoEvents) onDoEvents();
}

void ScriptedPort::OpenDocument(const std::string& file, const std::string& folder) {
    openedDocuments.emplace_back(file, folder);
}

}  // namespace pendara
