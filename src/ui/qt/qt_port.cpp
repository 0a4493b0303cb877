#include "ui/qt/qt_port.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDialog>
#include <QDir>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <QUrl>

#include "host/errors.h"
#include "host/qv_library.h"
#include "ui/dispatch.h"
#include "ui/pndra.h"
#include "ui/qt/account_lookup.h"
#include "ui/qt/detail_dialog.h"
#include "ui/qt/parameter_dialog.h"
#include "ui/qt/qt_text.h"
#include "ui/qt/report_view.h"

namespace pendara {

namespace {

QString TitleOr(const std::string& title) {
    return title.empty() ? QString::fromUtf8(kDefaultTitle) : Q(title);
}

}  // namespace

QtPort::QtPort() : gauge_(std::make_unique<GaugeWidget>()) {}

QtPort::~QtPort() = default;

void QtPort::RequestEnd(int code) {
    if (!endCode_) endCode_ = code;
    if (auto* d = qobject_cast<QDialog*>(QApplication::activeModalWidget())) d->reject();
}

void QtPort::ThrowIfEnding() const {
    if (endCode_) throw ProgramEnd{*endCode_};
}

int QtPort::Exec(QDialog& dialog) {
    if (onDialog) {
        QDialog* d = &dialog;
        QTimer::singleShot(0, d, [this, d] { onDialog(*d); });
    }
    int r = dialog.exec();
    ThrowIfEnding();
    return r;
}

int MessageBoxAnswer(int qtButton) {
    switch (qtButton) {
        case QMessageBox::Ok:
            return kVbOK;
        case QMessageBox::Cancel:
            return kVbCancel;
        case QMessageBox::Abort:
            return 3;
        case QMessageBox::Retry:
            return 4;
        case QMessageBox::Ignore:
            return 5;
        case QMessageBox::Yes:
            return kVbYes;
        case QMessageBox::No:
            return kVbNo;
        default:
            return kVbCancel;
    }
}

int QtPort::MsgBox(const std::string& text, int style, const std::string& title) {
    QMessageBox box(parent_);
    box.setWindowTitle(TitleOr(title));
    box.setText(Q(text));
    switch (StyleIcon(style)) {
        case kVbCritical:
            box.setIcon(QMessageBox::Critical);
            break;
        case kVbQuestion:
            box.setIcon(QMessageBox::Question);
            break;
        case kVbExclamation:
            box.setIcon(QMessageBox::Warning);
            break;
        case kVbInformation:
            box.setIcon(QMessageBox::Information);
            break;
        default:
            box.setIcon(QMessageBox::NoIcon);
            break;
    }
    using B = QMessageBox::StandardButton;
    std::vector<B> buttons;
    switch (StyleButtons(style)) {
        case 1:
            buttons = {B::Ok, B::Cancel};
            break;
        case 2:
            buttons = {B::Abort, B::Retry, B::Ignore};
            break;
        case 3:
            buttons = {B::Yes, B::No, B::Cancel};
            break;
        case 4:
            buttons = {B::Yes, B::No};
            break;
        case 5:
            buttons = {B::Retry, B::Cancel};
            break;
        default:
            buttons = {B::Ok};
            break;
    }
    for (B b : buttons) {
        QPushButton* pb = box.addButton(b);
        switch (b) {
            case B::Ok:
                pb->setText(QStringLiteral("Aceptar"));
                break;
            case B::Cancel:
                pb->setText(QStringLiteral("Cancelar"));
                break;
            case B::Yes:
                pb->setText(QStringLiteral("Sí"));
                break;
            case B::No:
                pb->setText(QStringLiteral("No"));
                break;
            case B::Abort:
                pb->setText(QStringLiteral("Anular"));
                break;
            case B::Retry:
                pb->setText(QStringLiteral("Reintentar"));
                break;
            case B::Ignore:
                pb->setText(QStringLiteral("Omitir"));
                break;
            default:
                break;
        }
    }
    std::size_t def = (style & 0x300) >> 8;
    if (def >= buttons.size()) def = 0;
    box.setDefaultButton(buttons[def]);
    if (buttons.size() > 1) box.setEscapeButton(buttons.back());
    Exec(box);
    QAbstractButton* clicked = box.clickedButton();
    int answer =
        clicked ? MessageBoxAnswer(box.standardButton(clicked)) : MessageBoxAnswer(buttons.back());
    return answer;
}

std::string QtPort::InputBox(const std::string& prompt, const std::string& title, bool secret) {
    QInputDialog dlg(parent_);
    dlg.setWindowTitle(TitleOr(title));
    dlg.setLabelText(Q(prompt));
    dlg.setInputMode(QInputDialog::TextInput);
    dlg.setTextEchoMode(secret ? QLineEdit::Password : QLineEdit::Normal);
    dlg.setOkButtonText(QStringLiteral("Aceptar"));
    dlg.setCancelButtonText(QStringLiteral("Cancelar"));
    if (Exec(dlg) != QDialog::Accepted) return "";
    return S(dlg.textValue());
}

std::string QtPort::SelectAccount(const std::string& title,
                                  const std::vector<AccountChoice>& accounts) {
    AccountLookupDialog dlg(TitleOr(title), accounts, parent_);
    if (Exec(dlg) != QDialog::Accepted) return "";
    return dlg.chosenCode();
}

bool QtPort::ParameterDialog(const std::string& caption, ParameterValues& values,
                             const ParameterKinds& kinds,
                             const std::function<std::vector<AccountChoice>()>& accounts) {
    ParameterForm dlg(TitleOr(caption), values, kinds, parent_);
    dlg.lookUp = [this, accounts](const QString& current) -> QString {
        std::vector<AccountChoice> list;
        if (accounts) list = accounts();
        std::string code = SelectAccount("Selección de cuenta", list);
        return code.empty() ? current : Q(code);
    };
    dlg.accountKey = [this](int key) {
        QvLibrary lib(*this);
        std::int32_t k = key;
        lib.AccountKeyPress("", 3, 8, k);
        return static_cast<int>(k);
    };
    if (Exec(dlg) != QDialog::Accepted) return false;
    dlg.Store(values);
    return true;
}

void QtPort::ShowReport(const ReportRequest& request, ReportScreenTarget target) {
    ShowReportDialog(request, target, parent_, [this](QDialog& d) { return Exec(d); });
}

std::string QtPort::AskSaveFile(const std::string& title, const std::string& suggestedName,
                                const std::string& filter) {
    QFileDialog dlg(parent_, TitleOr(title), QDir::home().filePath(Q(suggestedName)), Q(filter));
    dlg.setAcceptMode(QFileDialog::AcceptSave);
    dlg.setFileMode(QFileDialog::AnyFile);
    dlg.setOption(QFileDialog::DontUseNativeDialog, qEnvironmentVariableIsSet("PENDARA_TESTING"));
    if (Exec(dlg) != QDialog::Accepted || dlg.selectedFiles().isEmpty()) return "";
    return S(dlg.selectedFiles().front());
}

void QtPort::DoEvents() {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    ThrowIfEnding();
}

bool QtPort::WaitingForFile(const std::string& file, double seconds) {
    // Owned here rather than by the window, which may go first; centred over it when shown.
    if (!wait_) wait_ = std::make_unique<WaitDialog>(nullptr);
    if (!wait_->isVisible() && parent_) {
        wait_->adjustSize();
        wait_->move(parent_->geometry().center() - wait_->rect().center());
    }
    // A new wait starts over: another file, or the clock went back to the start.
    if (file != waitingFor_ || seconds < waited_ || !wait_->isVisible()) wait_->Reset();
    waitingFor_ = file;
    waited_ = seconds;
    const bool goOn = wait_->Poll(Q(file), seconds);
    if (!goOn) wait_->hide();
    return goOn;
}

void QtPort::OpenDocument(const std::string& file, const std::string& folder) {
    QString f = Q(folder);
    f.replace(QLatin1Char('\\'), QLatin1Char('/'));
    QString path = QDir(f).filePath(Q(file));
    if (onOpenDocument) {
        onOpenDocument(path);
        return;
    }
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

void QtPort::ShowReferenceDetail(Pndra& window) {
    DetailDialog dlg(window, *this, parent_);
    Exec(dlg);
}

std::optional<int> RunGesture(Pndra& w, QtPort& port, const std::function<void()>& handler) {
    std::optional<int> code;
    ++port.depth;
    try {
        RunEvent(w, handler);
    } catch (const ProgramEnd& e) {
        code = e.exitCode;
    } catch (const std::exception& e) {
        --port.depth;
        port.MsgBox(e.what(), kVbOKOnly + kVbCritical, "");
        ++port.depth;
    }
    --port.depth;
    if (!code && port.depth == 0 && port.EndRequested()) code = port.EndCode();
    if (code && port.depth > 0) {
        port.RequestEnd(*code);
        return std::nullopt;
    }
    return code;
}

}  // namespace pendara
