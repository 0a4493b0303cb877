// The window driven as a user drives it, over a demo company group made by qvdata.

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QRadioButton>
#include <QTableView>
#include <QTableWidget>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <sstream>

#include "host/conversions.h"
#include "host/settings.h"
#include "ui/qt/detail_dialog.h"
#include "ui/qt/grid_model.h"
#include "ui/qt/parameter_dialog.h"
#include "ui/qt/preview_dialog.h"
#include "ui/qt/qt_support.h"
#include "ui/qt/runs_dialog.h"

namespace pendara {
namespace {

class Workflow : public testing::StartedWindow {
  protected:
    void SetUp() override {
        UseHome();
        int rc = QProcess::execute(
            QStringLiteral(QVDATA_EXE),
            {QStringLiteral("demo"), QString::fromStdString((home.path() / "demo").string()),
             QStringLiteral("--no-key"), QStringLiteral("--accounts"), QStringLiteral("6"),
             QStringLiteral("--entries-per-year"), QStringLiteral("400"), QStringLiteral("--years"),
             QStringLiteral("2")});
        ASSERT_EQ(rc, 0);
        Start(commandLine);
    }

    // Lists every account and clicks the first customer account, as the user does.
    int OpenFirstCustomer() {
        window->ClickToolbar(1, 8);
        QListView* list = window->accountList();
        for (int i = 0; i < w->List2.ListCount(); ++i) {
            if (w->List2.List(i).rfind("430", 0) != 0) continue;
            QRect r = list->visualRect(list->model()->index(i, 0));
            list->scrollTo(list->model()->index(i, 0));
            r = list->visualRect(list->model()->index(i, 0));
            QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, r.center());
            return i;
        }
        return -1;
    }

    // The first row of a grid whose reference cell is not empty.
    static int RowWithReference(const Grid& g) {
        for (int r = 1; r <= g.Rows(); ++r)
            if (!Trim(g.Cell(r, 5)).empty()) return r;
        return 0;
    }

    std::string commandLine;
};

TEST_F(Workflow, ClickingAnAccountLoadsItsEntriesIntoBothGrids) {
    int i = OpenFirstCustomer();
    ASSERT_GE(i, 0);
    std::string code = w->List2.List(i).substr(0, 11);
    EXPECT_EQ(w->CTA.text(), code);
    EXPECT_EQ(window->frame(Ctl::Frame5)->title().toStdString(),
              "Estado de la cuenta activa " + code);
    // Every entry of the account, matched ones with their references.
    window->ClickOption(0);
    EXPECT_GT(window->gridModel(1)->rowCount(), 1);
    EXPECT_GT(window->gridModel(2)->rowCount(), 1);
    EXPECT_EQ(window->gridModel(1)->rowCount(), w->SGrid1.Rows());
    EXPECT_FALSE(window->titleLabel()->text().isEmpty());
    EXPECT_TRUE(window->balanceLabel()->text().startsWith(QStringLiteral("Saldo Cuenta: ")));
    EXPECT_NE(window->statusPicture(0)->isVisible(), window->statusPicture(1)->isVisible());

    // A click on a reference shows its sums; Shift attaches the new reference to a row.
    int row = RowWithReference(w->SGrid1);
    ASSERT_GT(row, 0);
    QTableView* view = window->grid(1);
    QModelIndex cell = view->model()->index(row - 1, 5);
    view->scrollTo(cell);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier,
                      view->visualRect(cell).center());
    EXPECT_EQ(w->SelectedCol, 5);
    EXPECT_EQ(w->SelectedRow, row);
    EXPECT_FALSE(window->sum(0)->text().isEmpty());
    std::string newref = w->newref.text();
    ASSERT_FALSE(newref.empty());
    QModelIndex other = view->model()->index(0, 3);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::ShiftModifier,
                      view->visualRect(other).center());
    EXPECT_EQ(w->SGrid1.Cell(1, 5), newref);
    EXPECT_EQ(view->model()->index(0, 5).data().toString().toStdString(), newref);
}

TEST_F(Workflow, TheOptionsReloadAndADoubleClickOnTheStatusPictureSaves) {
    ASSERT_GE(OpenFirstCustomer(), 0);
    int open = w->SGrid1.Rows() + w->SGrid2.Rows();
    auto* all = qobject_cast<QRadioButton*>(window->control(Ctl::Option1_0));
    QTest::mouseClick(all, Qt::LeftButton, Qt::NoModifier, QPoint(8, all->height() / 2));
    EXPECT_TRUE(w->Option1[0].value());
    EXPECT_FALSE(w->Option1[1].value());
    int every = w->SGrid1.Rows() + w->SGrid2.Rows();
    EXPECT_GT(every, open);  // matched entries are shown too, nothing was saved
    EXPECT_EQ(window->gridModel(1)->rowCount() + window->gridModel(2)->rowCount(), every);

    // Either picture saves the active account, which reloads only what stays open.
    QWidget* picture =
        window->statusPicture(0)->isVisible() ? window->statusPicture(0) : window->statusPicture(1);
    QTest::mouseDClick(picture, Qt::LeftButton);
    EXPECT_EQ(w->SGrid1.Rows() + w->SGrid2.Rows(), open);
    EXPECT_EQ(window->gridModel(1)->rowCount() + window->gridModel(2)->rowCount(), open);
}

TEST_F(Workflow, TheDetailWindowShowsTheReferenceAndStepsThroughRows) {
    ASSERT_GE(OpenFirstCustomer(), 0);
    window->ClickOption(0);
    int row = RowWithReference(w->SGrid2);
    ASSERT_GT(row, 0);
    std::string reference = Trim(w->SGrid2.Cell(row, 5));
    window->ClickCell(2, row, 5, false);

    int shown = 0;
    QString refShown, balance, firstCreditAmount, afterNext;
    port->onDialog = [&](QDialog& d) {
        auto* detail = qobject_cast<DetailDialog*>(&d);
        ASSERT_NE(detail, nullptr);
        ++shown;
        EXPECT_EQ(d.windowTitle(), QStringLiteral("Detalle de Referencias"));
        EXPECT_TRUE(d.isModal());
        refShown = detail->referenceBox()->text();
        balance = detail->sum(2)->text();
        firstCreditAmount = detail->grid()->model()->index(0, 9).data().toString();
        EXPECT_EQ(detail->grid()->model()->headerData(3, Qt::Horizontal).toString(),
                  QStringLiteral("Descripcion"));
        EXPECT_EQ(detail->grid()->columnWidth(1), TwipsToPixels(800, detail->logicalDpiX()));
        // "Siguiente" shows the reference of the next row of the credit grid.
        QAction* next = nullptr;
        for (QAction* a : detail->toolbar()->actions())
            if (a->data().toInt() == 20) next = a;
        ASSERT_NE(next, nullptr);
        EXPECT_EQ(next->toolTip(), QStringLiteral("Siguiente"));
        next->trigger();
        afterNext = detail->referenceBox()->text();
        d.reject();
    };
    window->ClickToolbar(2, 25);
    port->onDialog = nullptr;
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(refShown.toStdString(), reference);
    EXPECT_FALSE(firstCreditAmount.isEmpty());
    EXPECT_FALSE(balance.isEmpty());
    EXPECT_EQ(w->SelectedRow, row + 1);  // stays moved after the window closes
    EXPECT_EQ(afterNext.toStdString(), Trim(w->SGrid2.Cell(row + 1, 5)));
    EXPECT_TRUE(w->detailText.Empty());

    // A click outside the reference column opens nothing.
    window->ClickCell(2, row, 3, false);
    window->ClickToolbar(2, 25);
    EXPECT_EQ(shown, 1);
}

TEST_F(Workflow, TheConfigurationDialogStoresItsAnswersOrNothingWhenCancelled) {
    int shown = 0;
    port->onDialog = [&](QDialog& d) {
        ++shown;
        auto* form = qobject_cast<ParameterForm*>(&d);
        ASSERT_NE(form, nullptr);
        EXPECT_EQ(d.windowTitle(), QStringLiteral("Configuración de Punteo"));
        auto* correct = qobject_cast<QLineEdit*>(form->input(0));
        auto* wrong = qobject_cast<QLineEdit*>(form->input(1));
        auto* forced = qobject_cast<QCheckBox*>(form->input(2));
        ASSERT_TRUE(correct && wrong && forced);
        EXPECT_EQ(correct->text(), QStringLiteral("1"));  // nothing stored yet
        EXPECT_EQ(wrong->text(), QStringLiteral("0"));
        EXPECT_FALSE(forced->isChecked());
        correct->selectAll();
        QTest::keyClicks(correct, "7");
        wrong->selectAll();
        QTest::keyClicks(wrong, "2");
        forced->click();
        d.accept();
    };
    window->ClickToolbar(1, 12);
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(GetSetting("Punteo0", "", "?"), "7");
    EXPECT_EQ(GetSetting("Punteo1", "", "?"), "2");
    EXPECT_EQ(GetSetting("Punteo2", "", "?"), "1");

    port->onDialog = [&](QDialog& d) {
        auto* form = qobject_cast<ParameterForm*>(&d);
        ASSERT_NE(form, nullptr);
        EXPECT_EQ(qobject_cast<QLineEdit*>(form->input(0))->text(), QStringLiteral("7"));
        EXPECT_TRUE(qobject_cast<QCheckBox*>(form->input(2))->isChecked());
        qobject_cast<QLineEdit*>(form->input(0))->setText(QStringLiteral("9"));
        d.reject();
    };
    window->ClickToolbar(1, 12);
    port->onDialog = nullptr;
    EXPECT_EQ(GetSetting("Punteo0", "", "?"), "7");
}

TEST_F(Workflow, TheGroupSaveKeepsTheWindowPaintedAndTheStopButtonStopsIt) {
    window->ClickToolbar(1, 8);
    int before = w->List2.ListCount();
    ASSERT_GT(before, 5);
    bool sawStopButton = false;
    bool drawnDuringRun = false;
    bool ignoredDuringRun = false;
    port->onDialog = [&](QDialog& d) {
        auto* box = qobject_cast<QMessageBox*>(&d);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->text(),
                  QStringLiteral("Este proceso puede tardar. ¿esta usted seguro de continuar?"));
        EXPECT_EQ(box->defaultButton(), box->button(QMessageBox::No));
        // Once the run lets events through, press the stop button as the user would.
        auto* poll = new QTimer(window.get());
        QObject::connect(poll, &QTimer::timeout, window.get(), [&, poll] {
            QToolBar* bar = window->toolbar(1);
            for (QAction* a : bar->actions()) {
                if (a->data().toInt() != 21) continue;
                poll->stop();
                poll->deleteLater();
                sawStopButton =
                    a->toolTip() == QStringLiteral("Parar Proceso") && bar->actions().size() == 1;
                // The window shows the account the run is on, not the state before the run.
                drawnDuringRun = window->frame(Ctl::Frame5)->title().toStdString() ==
                                     "Estado de la cuenta activa " + w->CTA.text() &&
                                 !w->CTA.text().empty() &&
                                 window->gridModel(2)->rowCount() == w->SGrid2.Rows();
                // Other gestures wait for the run: a click on another account changes nothing.
                const std::string active = w->CTA.text();
                window->ClickAccount(0);
                ignoredDuringRun = w->CTA.text() == active;
                QTest::mouseClick(bar->widgetForAction(a), Qt::LeftButton);
                return;
            }
        });
        poll->start(0);
        box->button(QMessageBox::Yes)->click();
    };
    window->ClickToolbar(1, 17);
    port->onDialog = nullptr;
    EXPECT_TRUE(sawStopButton);
    EXPECT_TRUE(w->StopRequested);
    // Stopped after the account in progress: most of the list was never reached.
    EXPECT_GT(w->List2.ListCount(), before - 3);
    EXPECT_EQ(window->toolbar(1)->actions().size(), 12);
    EXPECT_TRUE(drawnDuringRun);
    EXPECT_TRUE(ignoredDuringRun);
    // The status bar says where it stopped.
    EXPECT_TRUE(window->statusText().startsWith(QStringLiteral("Proceso detenido tras ")))
        << window->statusText().toStdString();
}

// Every company of the demo chain as qvdata exports it.
std::string Books(const std::filesystem::path& folder) {
    std::string all;
    for (const char* year : {"DEMO2024.QVT", "DEMO2025.QVT"}) {
        QProcess p;
        p.start(QStringLiteral(QVDATA_EXE), {QStringLiteral("export-entries"),
                                             QString::fromStdString((folder / year).string())});
        p.waitForFinished(60000);
        all += p.readAllStandardOutput().toStdString();
    }
    return all;
}

TEST_F(Workflow, TheLastProcessIsUndoneAndTheUndoItselfFromTheList) {
    // Nothing written yet: nothing to undo.
    window->ShowRuns(true);
    EXPECT_EQ(window->statusText(), QStringLiteral("No hay procesos grabados que deshacer."));

    // A click on an account saves it.
    const std::string unsaved = Books(home.path() / "demo");
    ASSERT_GE(OpenFirstCustomer(), 0);
    const std::string code = w->CTA.text();
    const std::string saved = Books(home.path() / "demo");
    ASSERT_TRUE(saved != unsaved);

    // Ctrl+Z asks first; No leaves the books alone.
    QString question;
    int answer = QMessageBox::No;
    port->onDialog = [&](QDialog& d) {
        auto* box = qobject_cast<QMessageBox*>(&d);
        ASSERT_NE(box, nullptr);
        question = box->text();
        box->button(static_cast<QMessageBox::StandardButton>(answer))->click();
    };
    QTest::keyClick(window.get(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(question.startsWith(QStringLiteral("¿Deshacer el proceso ")))
        << question.toStdString();
    EXPECT_TRUE(Books(home.path() / "demo") == saved);
    answer = QMessageBox::Yes;
    window->ShowRuns(true);
    EXPECT_TRUE(Books(home.path() / "demo") == unsaved);
    EXPECT_TRUE(window->statusText().contains(QStringLiteral("deshecho: 1 cuenta, ")))
        << window->statusText().toStdString();
    // The grids no longer show the books: they are emptied, the account stays active.
    EXPECT_EQ(w->CTA.text(), code);
    EXPECT_EQ(w->SGrid1.Rows() + w->SGrid2.Rows(), 2);
    EXPECT_EQ(window->gridModel(1)->rowCount(), 1);

    // The list shows both processes, newest first; undoing the undo saves the account again.
    int listed = 0;
    port->onDialog = [&](QDialog& d) {
        if (auto* runs = dynamic_cast<RunsDialog*>(&d)) {
            listed = runs->table()->rowCount();
            runs->table()->selectRow(0);
            runs->undoButton()->click();
            return;
        }
        static_cast<QMessageBox&>(d).button(QMessageBox::Yes)->click();
    };
    QTest::mouseClick(window->runsButton(), Qt::LeftButton);
    port->onDialog = nullptr;
    EXPECT_EQ(listed, 2);
    EXPECT_TRUE(Books(home.path() / "demo") == saved);
}

// Lines of two exports of the same books that differ.
int ChangedLines(const std::string& a, const std::string& b) {
    std::istringstream x(a), y(b);
    int changed = 0;
    for (std::string l, m; std::getline(x, l) && std::getline(y, m);)
        changed += l != m;
    return changed;
}

TEST_F(Workflow, ThePreviewShowsWhatTheSaveWritesAndWritesNothing) {
    ASSERT_GE(OpenFirstCustomer(), 0);
    // A row given the new reference by hand: the save would write it.
    const int row = RowWithReference(w->SGrid1) == 1 ? 2 : 1;
    QTableView* view = window->grid(1);
    const QModelIndex cell = view->model()->index(row - 1, 3);
    view->scrollTo(cell);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::ShiftModifier,
                      view->visualRect(cell).center());
    ASSERT_TRUE(w->UnsavedEdits);
    const std::string before = Books(home.path() / "demo");
    const std::string newref = w->newref.text();

    int rows = -1;
    QString summary, firstAfter;
    port->onDialog = [&](QDialog& d) {
        auto* preview = dynamic_cast<PreviewDialog*>(&d);
        ASSERT_NE(preview, nullptr);
        rows = preview->table()->rowCount();
        summary = preview->summaryLabel()->text();
        if (rows > 0) firstAfter = preview->table()->item(0, 4)->text();
        d.accept();
    };
    QTest::keyClick(window.get(), Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
    port->onDialog = nullptr;
    EXPECT_TRUE(Books(home.path() / "demo") == before);
    EXPECT_TRUE(w->UnsavedEdits);  // the grids are as they were, still to be saved
    EXPECT_EQ(w->newref.text(), newref);
    EXPECT_TRUE(summary.startsWith(QStringLiteral("Simulación: no se ha escrito nada.")))
        << summary.toStdString();
    ASSERT_GE(rows, 1);
    EXPECT_TRUE(firstAfter.startsWith(QString::fromStdString(newref))) << firstAfter.toStdString();

    // The real save writes exactly the entries the preview listed.
    window->SaveActiveAccount();
    EXPECT_EQ(ChangedLines(before, Books(home.path() / "demo")), rows);
}

TEST_F(Workflow, EnterInTheMaskBoxListsTheAccountsAndOtherKeysAreFiltered) {
    QLineEdit* mask = window->maskBox();
    mask->setFocus();
    QTest::keyClicks(mask, "43a0");
    EXPECT_EQ(mask->text(), QStringLiteral("430"));  // letters are refused
    // So is a character beyond the 16-bit range: one key, however Qt stores it.
    QKeyEvent clef(QEvent::KeyPress, 0, Qt::NoModifier, QString::fromUtf8("𝄞"));
    QApplication::sendEvent(mask, &clef);
    EXPECT_EQ(mask->text(), QStringLiteral("430"));
    EXPECT_EQ(w->Text1.text(), "430");
    QTest::keyClick(mask, Qt::Key_Return);
    window->Refresh();
    int n = w->List2.ListCount();
    for (int i = 0; i < n; ++i)
        EXPECT_EQ(w->List2.List(i).rfind("430", 0), 0u) << w->List2.List(i);
    EXPECT_EQ(window->accountList()->model()->rowCount(), n);
}

TEST_F(Workflow, HelpOpensThePageInTheRegisteredFolder) {
    SetRegValue(*port, "Directory", "/opt/ayuda");
    QString opened;
    port->onOpenDocument = [&](const QString& path) { opened = path; };
    window->ClickToolbar(1, 112);
    EXPECT_EQ(opened, QStringLiteral("/opt/ayuda/punteo.htm"));
}

class StartedWithAnAccount : public Workflow {
  protected:
    void SetUp() override {
        commandLine = "4300000002";
        Workflow::SetUp();
    }
};

TEST_F(StartedWithAnAccount, TheFirstActivationLoadsMatchesAndSavesItOnce) {
    // Showing the window is its first activation.
    for (int i = 0; i < 5 && !w->Activated; ++i)
        QApplication::processEvents();
    EXPECT_TRUE(w->Activated);
    EXPECT_EQ(w->CTA.text(), "4300000002 ");
    int selected = w->List2.ListIndex();
    ASSERT_GE(selected, 0);
    EXPECT_EQ(w->List2.List(selected).rfind("4300000002", 0), 0u);
    EXPECT_EQ(window->accountList()->currentIndex().row(), selected);
    EXPECT_EQ(window->maskBox()->text(), QStringLiteral("4300000002"));
    EXPECT_FALSE(window->titleLabel()->text().isEmpty());

    // Activating again does not repeat the unattended run.
    w->SGrid1.SetCell(1, 4, "marca de prueba");
    QEvent activate(QEvent::WindowActivate);
    QApplication::sendEvent(window.get(), &activate);
    EXPECT_EQ(w->SGrid1.Cell(1, 4), "marca de prueba");
}

}  // namespace
}  // namespace pendara
