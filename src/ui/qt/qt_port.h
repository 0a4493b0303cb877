#pragma once
// The desktop port of the Qt window: real dialogs, the gauge strip, and the rule by which a
// handler that ends the program inside a nested event loop (a modal dialog, a long run letting
// events through) unwinds to the outermost gesture.

#include <QPointer>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>

#include "host/desktop_port.h"
#include "ui/qt/gauge_widget.h"
#include "ui/qt/wait_dialog.h"

class QDialog;

namespace pendara {

class Pndra;

class QtPort : public DesktopPort {
  public:
    QtPort();
    ~QtPort() override;

    // Dialogs are centred over this window.
    void SetParentWidget(QWidget* w) { parent_ = w; }
    QWidget* parentWidget() const { return parent_; }

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
    GaugeSurface& Gauge() override { return *gauge_; }
    // The detail window "Detalle de Referencias", modal over the main window's state.
    void ShowReferenceDetail(Pndra& window);
    bool WaitingForFile(const std::string& file, double seconds) override;

    GaugeWidget& gaugeWidget() { return *gauge_; }

    // How many gestures are running, one inside another.
    int depth = 0;
    // Asks the outermost gesture to end the program with the code.
    void RequestEnd(int code);
    bool EndRequested() const { return endCode_.has_value(); }
    int EndCode() const { return endCode_.value_or(0); }
    // Throws ProgramEnd when an end was requested from a nested loop.
    void ThrowIfEnding() const;

    // Called with every dialog the port is about to run modally (tests and screenshots use it
    // to answer or photograph dialogs).
    std::function<void(QDialog&)> onDialog;
    // Called instead of opening a document with the desktop (tests).
    std::function<void(const QString& path)> onOpenDocument;

    int Exec(QDialog& dialog);

    // The notice of a wait for a held file, made on the first wait (tests read it).
    WaitDialog* waitDialog() const { return wait_.get(); }

  private:
    std::unique_ptr<GaugeWidget> gauge_;
    std::unique_ptr<WaitDialog> wait_;
    std::string waitingFor_;
    double waited_ = 0;
    QPointer<QWidget> parent_;
    std::optional<int> endCode_;
};

// Runs the handler of a user gesture through RunEvent. A ProgramEnd at the outermost gesture
// gives its exit code; inside a nested loop it is handed to the outer gesture (the open modal
// dialog is closed) and nothing is returned. Other failures are shown and the window goes on.
std::optional<int> RunGesture(Pndra& w, QtPort& port, const std::function<void()>& handler);

// The message box's style value taken apart (buttons, icon, default) into a Qt message box.
int MessageBoxAnswer(int qtButton);

}  // namespace pendara
