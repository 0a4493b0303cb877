#pragma once
// The desktop port that tests use: answers are queued in advance, every dialog shown is
// recorded, and a dialog that needs an answer nobody queued throws UnexpectedDialog.

#include <deque>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host/desktop_port.h"
#include "support/recording_gauge.h"

namespace pendara {

class UnexpectedDialog : public std::logic_error {
  public:
    using std::logic_error::logic_error;
};

class ScriptedPort : public DesktopPort {
  public:
    struct Message {
        std::string text;
        int style = 0;
        std::string title;
    };
    using ParameterAnswer = std::function<bool(const std::string& caption, ParameterValues& values,
                                               const ParameterKinds& kinds)>;

    // Queued answers, taken in order.
    void QueueMsgBox(int answer) { msgAnswers_.push_back(answer); }
    void QueueInput(std::string text) { inputs_.push_back(std::move(text)); }
    void QueueAccount(std::string code) { accounts_.push_back(std::move(code)); }
    void QueueParameters(ParameterAnswer answer) { parameters_.push_back(std::move(answer)); }
    void QueueSaveFile(std::string path) { saveFiles_.push_back(std::move(path)); }
    // When true, OK-only notices also need a queued answer; by default they are acknowledged.
    bool strictNotices = false;

    int MsgBox(const std::string& text, int style, const std::string& title) override;
    std::string InputBox(const std::string& prompt, const std::string& title, bool secret) override;
    std::string SelectAccount(const std::string& title,
                              const std::vector<AccountChoice>& accounts) override;
    bool ParameterDialog(const std::string& caption, ParameterValues& values,
                         const ParameterKinds& kinds,
                         const std::function<std::vector<AccountChoice>()>& accounts) override;
    void ShowReport(const ReportRequest& request, ReportScreenTarget target) override;
    std::string AskSaveFile(const std::string& title, const std::string& suggestedName,
                            const std::string& filter) override;
    void DoEvents() override;
    void OpenDocument(const std::string& file, const std::string& folder) override;
    GaugeSurface& Gauge() override { return gauge; }

    // What was shown.
    std::vector<Message> messages;
    std::vector<std::string> prompts;
    std::vector<std::pair<ReportRequest, ReportScreenTarget>> reports;
    std::vector<std::pair<std::string, std::string>> openedDocuments;
    std::vector<std::string> parameterCaptions;
    int doEventsCalls = 0;
    RecordingGauge gauge;

    // Run when the program lets events through.
    std::function<void()> onDoEvents;

    // True when every queued answer was used.
    bool AllAnswersUsed() const {
        return msgAnswers_.empty() && inputs_.empty() && accounts_.empty() && parameters_.empty() &&
               saveFiles_.empty();
    }

  private:
    std::deque<int> msgAnswers_;
    std::deque<std::string> inputs_;
    std::deque<std::string> accounts_;
    std::deque<ParameterAnswer> parameters_;
    std::deque<std::string> saveFiles_;
};

}  // namespace pendara
