#include "cli/console_port.h"

#include <cstdio>
#include <iostream>
#include <string>

#include "host/account_posting.h"

#ifndef _WIN32
#include <termios.h>
#include <unistd.h>
#endif

namespace pendara {

namespace {
bool StderrIsTerminal() {
#ifdef _WIN32
    return false;
#else
    return ::isatty(STDERR_FILENO) != 0;
#endif
}

bool StdinIsTerminal() {
#ifdef _WIN32
    return false;
#else
    return ::isatty(STDIN_FILENO) != 0;
#endif
}

std::string ReadLine() {
    std::string line;
    if (!std::getline(std::cin, line)) return "";
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

// An answer taken from a pipe is not echoed: end the prompt's line so later output starts afresh.
std::string ReadAnswer(std::ostream& promptOut) {
    std::string line = ReadLine();
    if (!StdinIsTerminal()) promptOut << "\n" << std::flush;
    return line;
}

// Message texts use CR LF between lines; a terminal wants LF.
std::string ForTerminal(const std::string& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
        out += text[i];
    }
    return out;
}
}  // namespace

void ConsoleGauge::Cls() {
    fraction_ = 0;
    text_.clear();
    if (enabled_ && shown_) {
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
        shown_ = false;
    }
}

void ConsoleGauge::Refresh() {
    if (!enabled_ || text_.empty()) return;
    const int width = 40;
    int filled = static_cast<int>(fraction_ * width + 0.5);
    if (filled > width) filled = width;
    if (filled < 0) filled = 0;
    std::string bar = "\r\033[K" + (label_.empty() ? "" : label_ + " ") + "[" +
                      std::string(static_cast<std::size_t>(filled), '#') +
                      std::string(static_cast<std::size_t>(width - filled), '.') + "] " + text_;
    std::fputs(bar.c_str(), stderr);
    std::fflush(stderr);
    shown_ = true;
}

ConsolePort::ConsolePort(std::ostream& out, std::ostream& err, bool assumeYes)
    : out_(out), err_(err), assumeYes_(assumeYes), gauge_(StderrIsTerminal()) {}

int ConsolePort::MsgBox(const std::string& text, int style, const std::string& title) {
    std::string heading = title.empty() ? kDefaultTitle : title;
    gauge_.Cls();
    err_ << heading << ": " << ForTerminal(text) << "\n";
    if (StyleButtons(style) != kVbYesNo) return kVbOK;
    if (assumeYes_) {
        err_ << "  (sí, por --yes)\n";
        return kVbYes;
    }
    if (!StdinIsTerminal()) {
        err_ << "  No hay terminal para preguntar: se responde No (use --yes para aceptar).\n";
        return kVbNo;
    }
    err_ << (StyleDefaultsToSecond(style) ? "  ¿Sí o No? [s/N] " : "  ¿Sí o No? [S/n] ")
         << std::flush;
    std::string answer = ReadLine();
    if (answer.empty()) return StyleDefaultsToSecond(style) ? kVbNo : kVbYes;
    char c = answer[0];
    return (c == 's' || c == 'S' || c == 'y' || c == 'Y') ? kVbYes : kVbNo;
}

std::string ReadSecretLine(std::ostream& promptOut, const std::string& prompt) {
    promptOut << prompt << std::flush;
#ifndef _WIN32
    if (StdinIsTerminal()) {
        termios old{};
        if (tcgetattr(STDIN_FILENO, &old) == 0) {
            termios quiet = old;
            quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
            std::string line = ReadLine();
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &old);
            promptOut << "\n";
            return line;
        }
    }
#endif
    return ReadAnswer(promptOut);
}

std::string ConsolePort::InputBox(const std::string& prompt, const std::string&, bool secret) {
    gauge_.Cls();
    if (secret) return ReadSecretLine(err_, prompt + ": ");
    err_ << prompt << ": " << std::flush;
    return ReadAnswer(err_);
}

std::string ConsolePort::SelectAccount(const std::string& title,
                                       const std::vector<AccountChoice>& accounts) {
    err_ << title << "\n";
    for (const auto& a : accounts)
        err_ << "  " << a.code << " " << a.name << "\n";
    err_ << "Cuenta: " << std::flush;
    return ReadAnswer(err_);
}

bool ConsolePort::ParameterDialog(const std::string& caption, ParameterValues& values,
                                  const ParameterKinds& kinds,
                                  const std::function<std::vector<AccountChoice>()>&) {
    // Headless commands fill the values themselves; the dialog accepts them as they stand.
    err_ << caption << "\n";
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i < kinds.size() && IsChoiceKind(kinds[i][1]))
            err_ << "  (opción elegida): " << values[i][0] << "\n";
        else
            err_ << "  " << values[i][0] << ": " << values[i][1] << "\n";
    }
    return true;
}

void ConsolePort::ShowReport(const ReportRequest& request, ReportScreenTarget) {
    out_ << request.title << "\n" << ForTerminal(request.text);
}

std::string ConsolePort::AskSaveFile(const std::string&, const std::string& suggestedName,
                                     const std::string&) {
    return suggestedName;
}

void ConsolePort::DoEvents() {
    if (onDoEvents) onDoEvents();
}

void ConsolePort::OpenDocument(const std::string& file, const std::string& folder) {
    err_ << "Abra " << folder << file << "\n";
}

bool ConsolePort::WaitingForFile(const std::string& file, double seconds) {
    if (file != waitingFor_ || seconds < waited_) {
        gauge_.Cls();
        err_ << WaitingMessage(file) << "\n" << std::flush;
        waitingFor_ = file;
    }
    waited_ = seconds;
    return true;
}

}  // namespace pendara
