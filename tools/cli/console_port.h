#pragma once
// The desktop port of the headless front end: messages go to the terminal, questions are asked
// on it (or answered by --yes), access keys are read without echo, and the gauge is a progress
// bar on standard error when that is a terminal.

#include <atomic>
#include <functional>
#include <iosfwd>
#include <string>

#include "host/desktop_port.h"
#include "host/utf8.h"

namespace pendara {

class ConsoleGauge : public GaugeSurface {
  public:
    explicit ConsoleGauge(bool enabled) : enabled_(enabled) {}
    void SetAutoRedraw(bool) override {}
    void Cls() override;
    void Refresh() override;
    void SetForeColor(std::uint32_t) override {}
    double ScaleWidth() const override { return 1000; }
    double ScaleHeight() const override { return 10; }
    double TextWidth(const std::string& t) const override {
        return static_cast<double>(Utf8Length(t));
    }
    double TextHeight(const std::string&) const override { return 1; }
    void FillBox(double, double, double x2, double, std::uint32_t) override {
        fraction_ = x2 / 1000;
    }
    void PrintText(double, double, const std::string& text) override { text_ = text; }
    // A label shown before the bar (for example the account in progress).
    void SetLabel(std::string label) { label_ = std::move(label); }

  private:
    bool enabled_;
    bool shown_ = false;
    double fraction_ = 0;
    std::string text_;
    std::string label_;
};

class ConsolePort : public DesktopPort {
  public:
    // assumeYes answers every Yes/No question with Yes (the --yes option).
    ConsolePort(std::ostream& out, std::ostream& err, bool assumeYes = false);

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
    GaugeSurface& Gauge() override { return gauge_; }
    // Says once per wait, on standard error, which file the write waits for.
    bool WaitingForFile(const std::string& file, double seconds) override;

    void setAssumeYes(bool yes) { assumeYes_ = yes; }
    // Run on every DoEvents (the headless stop request comes from a signal flag).
    std::function<void()> onDoEvents;

  private:
    std::ostream& out_;
    std::ostream& err_;
    bool assumeYes_;
    ConsoleGauge gauge_;
    std::string waitingFor_;
    double waited_ = 0;
};

// Reads one line from the terminal without echo when standard input is a terminal, otherwise
// one line from standard input. Returns "" at end of input.
std::string ReadSecretLine(std::ostream& promptOut, const std::string& prompt);

}  // namespace pendara
