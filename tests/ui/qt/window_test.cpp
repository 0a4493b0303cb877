// The window as an accountant lives in it: the account list under the keyboard, unsaved manual
// edits, sorting, filtering, totals, copy and export, the status bar, the keyboard, the settings
// that survive a restart, Qt's own dialogs in Spanish. Over a small ledger whose sums are known.

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QRadioButton>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <set>

#include "host/company_file.h"
#include "host/report_output.h"
#include "host/settings.h"
#include "support/ledger.h"
#include "ui/qt/grid_filter.h"
#include "ui/qt/grid_model.h"
#include "ui/qt/grid_view.h"
#include "ui/qt/parameter_dialog.h"
#include "ui/qt/qt_support.h"
#include "ui/qt/translations.h"
#include "ui/qt/window_settings.h"

namespace pendara {
namespace {

using testing::FillGrid;
using testing::Ledger;
using testing::WindowFixture;

// --- The filter box's reading ---------------------------------------------------------------

GridRowTexts Row(const char* date, const char* description, const char* amount,
                 const char* reference = "", const char* entry = "12") {
    return {QString::fromUtf8(date), QString::fromUtf8(entry), QString::fromUtf8(description),
            QString::fromUtf8(reference), QString::fromUtf8(amount)};
}

bool Shows(const char* filter, const GridRowTexts& row) {
    return GridFilter(QString::fromUtf8(filter)).Matches(row);
}

TEST(GridFilter, ReadsAmountsTheSpanishWayInCentsWithoutTheirSign) {
    EXPECT_EQ(GridFilter::Cents(QStringLiteral("1.234,56")), 123456);
    EXPECT_EQ(GridFilter::Cents(QStringLiteral("1234,5")), 123450);
    EXPECT_EQ(GridFilter::Cents(QStringLiteral("1.234")), 123400);  // thousands
    EXPECT_EQ(GridFilter::Cents(QStringLiteral("12.5")), 1250);     // a lone decimal point
    EXPECT_EQ(GridFilter::Cents(QStringLiteral("  -6.353,64 ")), 635364);
    EXPECT_EQ(GridFilter::Cents(QStringLiteral("1.2345")), std::nullopt);
    EXPECT_EQ(GridFilter::Cents(QStringLiteral("12,345")), std::nullopt);
    EXPECT_EQ(GridFilter::Cents(QStringLiteral("12.34.5")), std::nullopt);
    EXPECT_EQ(GridFilter::Cents(QStringLiteral("Fra")), std::nullopt);
    EXPECT_EQ(GridFilter::Day(QStringLiteral("15/03/24")), 20240315);
    EXPECT_EQ(GridFilter::Day(QStringLiteral("1/3/1999")), 19990301);
    EXPECT_EQ(GridFilter::Day(QStringLiteral("31/12/60")), 19601231);  // 60 is of the last century
    EXPECT_EQ(GridFilter::Day(QStringLiteral("32/01/24")), std::nullopt);
    EXPECT_EQ(GridFilter::Day(QStringLiteral("15-03-24")), std::nullopt);
}

TEST(GridFilter, EveryTermMustMeetTheRow) {
    const GridRowTexts sale = Row("15/03/24", "Fra. 1212 Cliente", "      1.234,56");
    const GridRowTexts payment = Row("02/04/24", "Cobro Fra. 1212", "     -1.234,56", "RF-7");
    EXPECT_TRUE(Shows("", sale));
    EXPECT_TRUE(Shows("fra", sale));  // any case
    EXPECT_TRUE(Shows("rf-7", payment));
    EXPECT_TRUE(Shows("1234,56", payment));  // the amount without its sign
    EXPECT_TRUE(Shows("1.234,56", sale));
    EXPECT_FALSE(Shows("1.234,57", sale));
    EXPECT_TRUE(Shows(">1000", payment));
    EXPECT_FALSE(Shows("<1000", payment));
    EXPECT_TRUE(Shows(">=1.234,56", sale));
    EXPECT_FALSE(Shows(">1.234,56", sale));
    EXPECT_TRUE(Shows("1000..2000", sale));
    EXPECT_FALSE(Shows("2000..3000", sale));
    EXPECT_TRUE(Shows("15/03/24", sale));
    EXPECT_TRUE(Shows("15/3/2024", sale));  // the same day written otherwise
    EXPECT_TRUE(Shows("01/03/24..31/03/24", sale));
    EXPECT_FALSE(Shows("01/03/24..31/03/24", payment));
    EXPECT_TRUE(Shows("cobro >1000 04/24", payment));
    EXPECT_FALSE(Shows("cobro <1000", payment));
    EXPECT_TRUE(Shows("12", sale));  // the entry number and the invoice number contain it
}

// --- A window over a small ledger -----------------------------------------------------------

// Customer 4300000001 has five entries no matching groups and one invoice that its payment
// settles: after a load and save the debit grid keeps 1.000,00 + 250,10 + 99,99 = 1.350,09 in
// three entries and the credit grid -50,05 - 12,34 = -62,39 in two.
class LedgerWindow : public testing::StartedWindow {
  protected:
    void SetUp() override {
        UseHome();
        company = ledger.Company("E5", "Empresa", 2025);
        ledger.Accounts(company, {{"4300000001", "Cliente uno"},
                                  {"4300000002", "Cliente dos"},
                                  {"4300000003", "Cliente tres"}});
        ledger.Entries(company, {{"4300000001", "15/01/25", "1", "Venta A", 1, 1000.0},
                                 {"4300000001", "20/01/25", "2", "Venta B", 1, 250.10},
                                 {"4300000001", "31/12/24", "3", "Venta C", 1, 99.99},
                                 {"4300000001", "10/02/25", "4", "Fra. 7", 1, 500.0},
                                 {"4300000001", "12/02/25", "5", "Cobro X", 2, -50.05},
                                 {"4300000001", "28/02/25", "6", "Cobro Y", 2, -12.34},
                                 {"4300000001", "01/03/25", "7", "Cobro Fra. 7", 2, -500.0},
                                 {"4300000002", "01/03/25", "8", "Venta D", 1, 10.0}});
        ledger.SetActive(company);
        ASSERT_NO_FATAL_FAILURE(Start());
        QApplication::setActiveWindow(window.get());
        QApplication::processEvents();
        window->ClickToolbar(1, 8);  // every account: 4300000001, 4300000002, 4300000003
        ASSERT_EQ(w->List2.ListCount(), 3);
    }

    void ClickListRow(int row) {
        QListView* list = window->accountList();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier,
                          list->visualRect(list->model()->index(row, 0)).center());
    }
    void ShiftClickCell(int g, int viewRow, int col) {
        QTableView* view = window->grid(g);
        QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::ShiftModifier,
                          view->visualRect(view->model()->index(viewRow, col)).center());
    }
    // The next message box is answered with the button of that text; its text is kept.
    void Answer(const QString& button) {
        port->onDialog = [this, button](QDialog& d) {
            auto* box = qobject_cast<QMessageBox*>(&d);
            ASSERT_NE(box, nullptr);
            asked = box->text();
            for (QAbstractButton* b : box->buttons())
                if (b->text() == button) b->click();
        };
    }
    // A key of the window; a dialog shown before may have taken the activation with it.
    void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QApplication::setActiveWindow(window.get());
        QWidget* target = QApplication::focusWidget() ? QApplication::focusWidget() : window.get();
        QTest::keyClick(target, key, modifiers);
    }
    std::string Reference(const std::string& description) {
        for (const EntryRecord& e : ledger.Read(company))
            if (e.descripcion == description) return e.referencia;
        ADD_FAILURE() << description;
        return "";
    }
    QStringList Column(int g, int col) {
        QStringList out;
        QAbstractItemModel* m = window->grid(g)->model();
        for (int r = 0; r < m->rowCount(); ++r)
            out.append(m->index(r, col).data().toString().trimmed());
        return out;
    }

    Ledger ledger;
    std::string company;
    QString asked;
};

TEST_F(LedgerWindow, TheArrowKeysMoveThroughTheListWithoutLoadingAndEnterLoads) {
    const auto entries = ledger.Read(company);
    const std::int32_t counter = ReadCounter(company);
    QListView* list = window->accountList();
    list->setFocus();
    for (int i = 0; i < 3; ++i)
        QTest::keyClick(list, Qt::Key_Down);
    QTest::keyClick(list, Qt::Key_Up);
    EXPECT_EQ(list->currentIndex().row(), 1);
    EXPECT_EQ(w->List2.ListIndex(), 1);  // the selection the toolbar commands act on
    // Nothing was loaded, matched or written: not the entries, not the reference counter.
    EXPECT_EQ(w->CTA.text(), "");
    EXPECT_EQ(ledger.Read(company), entries);
    EXPECT_EQ(ReadCounter(company), counter);

    QTest::keyClick(list, Qt::Key_Up);
    QTest::keyClick(list, Qt::Key_Return);
    EXPECT_EQ(w->CTA.text(), "4300000001 ");
    EXPECT_NE(ledger.Read(company), entries);  // matched and saved
    EXPECT_GT(ReadCounter(company), counter);
    EXPECT_EQ(window->statusText().toStdString(),
              std::string("Cuenta 4300000001 guardada: 7 apuntes escritos, 1 referencia; "
                          "quedan 5 apuntes pendientes."));
    // "Siguiente" goes on from the selection.
    QTest::keyClick(list, Qt::Key_Down);
    EXPECT_EQ(w->CTA.text(), "4300000001 ");
    window->ClickToolbar(1, 20);
    EXPECT_EQ(w->CTA.text(), "4300000003 ");
}

TEST_F(LedgerWindow, UnsavedEditsAreAskedAboutWithEachAnswer) {
    ClickListRow(0);
    ASSERT_EQ(w->CTA.text(), "4300000001 ");
    const std::string first = w->newref.text();
    ShiftClickCell(1, 0, 4);
    ASSERT_EQ(w->SGrid1.Cell(1, 5), first);
    EXPECT_TRUE(w->UnsavedEdits);
    EXPECT_TRUE(window->frame(Ctl::Frame5)->title().endsWith(QStringLiteral(" *")));
    EXPECT_TRUE(window->unsavedLabel()->isVisible());

    // Cancelar: nothing changes, the selection goes back to the active account.
    Answer(QStringLiteral("Cancelar"));
    ClickListRow(1);
    EXPECT_TRUE(asked.startsWith(QStringLiteral("¿Guardar los cambios de la cuenta 4300000001")));
    EXPECT_EQ(w->CTA.text(), "4300000001 ");
    EXPECT_EQ(w->SGrid1.Cell(1, 5), first);
    EXPECT_EQ(w->List2.ListIndex(), 0);
    EXPECT_EQ(window->accountList()->currentIndex().row(), 0);
    EXPECT_TRUE(w->UnsavedEdits);
    // The same question before Enter in the mask box and before the reload options.
    asked.clear();
    window->maskBox()->setFocus();
    QTest::keyClick(window->maskBox(), Qt::Key_Return);
    EXPECT_FALSE(asked.isEmpty());
    EXPECT_EQ(w->List2.ListCount(), 3);
    asked.clear();
    auto* all = qobject_cast<QRadioButton*>(window->control(Ctl::Option1_0));
    QTest::mouseClick(all, Qt::LeftButton, Qt::NoModifier, QPoint(8, all->height() / 2));
    EXPECT_FALSE(asked.isEmpty());
    EXPECT_FALSE(all->isChecked());
    EXPECT_TRUE(w->Option1[1].value());
    EXPECT_EQ(w->SGrid1.Cell(1, 5), first);

    // No: the edits go, the other account loads, nothing of them was written.
    Answer(QStringLiteral("No"));
    ClickListRow(1);
    EXPECT_EQ(w->CTA.text(), "4300000002 ");
    EXPECT_FALSE(w->UnsavedEdits);
    EXPECT_EQ(Reference("Venta A"), "");

    // Sí: the active account is saved with the edits, then the other one loads.
    port->onDialog = nullptr;
    ClickListRow(0);
    const std::string second = w->newref.text();
    ShiftClickCell(1, 0, 4);
    Answer(QStringLiteral("Sí"));
    ClickListRow(1);
    EXPECT_EQ(Reference("Venta A"), second);
    EXPECT_EQ(w->CTA.text(), "4300000002 ");
}

TEST_F(LedgerWindow, ClosingWithUnsavedEditsAsksToo) {
    ClickListRow(0);
    ShiftClickCell(1, 1, 4);
    Answer(QStringLiteral("Cancelar"));
    window->close();
    EXPECT_TRUE(window->isVisible());
    Answer(QStringLiteral("Sí"));
    window->close();
    EXPECT_FALSE(window->isVisible());
    EXPECT_FALSE(Reference("Venta B").empty());
}

TEST_F(LedgerWindow, TotalsFilterAndCopyShowWhatIsOpen) {
    ClickListRow(0);
    EXPECT_EQ(window->totalsLabel(1)->text().toStdString(),
              std::string("Pendiente: 3 apuntes, 1.350,09"));
    EXPECT_EQ(window->totalsLabel(2)->text().toStdString(),
              std::string("Pendiente: 2 apuntes, -62,39"));

    QLineEdit* filter = window->filterBox(1);
    filter->setText(QStringLiteral(">100"));
    EXPECT_EQ(Column(1, kColDescription), (QStringList{"Venta A", "Venta B"}));
    EXPECT_EQ(window->totalsLabel(1)->text().toStdString(),
              std::string("Pendiente: 3 apuntes, 1.350,09   ·   Filtro: 2 apuntes, 1.250,10"));
    filter->setText(QStringLiteral("01/12/24..31/01/25 venta"));
    EXPECT_EQ(Column(1, kColDescription), (QStringList{"Venta A", "Venta B", "Venta C"}));
    filter->setText(QStringLiteral("99,99"));
    EXPECT_EQ(Column(1, kColDescription), (QStringList{"Venta C"}));

    // Ctrl+C copies what the filter shows, in the order shown.
    filter->setText(QStringLiteral(">100"));
    window->grid(1)->setFocus();
    QTest::keyClick(window->grid(1), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text(),
              QStringLiteral("Fecha\tAsiento\tDescripción\tReferencia\tImporte\r\n"
                             "15/01/25\t1\tVenta A\t\t1.000,00\r\n"
                             "20/01/25\t2\tVenta B\t\t250,10\r\n"));
    EXPECT_EQ(window->statusText().toStdString(),
              std::string("2 filas del debe copiadas al portapapeles."));

    // Every entry of the account: the settled pair shows and the filter lets its invoice
    // through; what is open stays what it was.
    auto* all = qobject_cast<QRadioButton*>(window->control(Ctl::Option1_0));
    QTest::mouseClick(all, Qt::LeftButton, Qt::NoModifier, QPoint(8, all->height() / 2));
    EXPECT_EQ(window->gridModel(1)->rowCount(), 4);
    EXPECT_EQ(window->totalsLabel(1)->text().toStdString(),
              std::string("Pendiente: 3 apuntes, 1.350,09   ·   Filtro: 3 apuntes, 1.750,10"));
    EXPECT_EQ(window->totalsLabel(2)->text().toStdString(),
              std::string("Pendiente: 2 apuntes, -62,39"));
    // The filter belonged to the account: another account starts without it.
    filter->setText(QStringLiteral("venta"));
    ClickListRow(1);
    EXPECT_TRUE(filter->text().isEmpty());
}

TEST_F(LedgerWindow, ExportWritesTheVisibleRowsAsCsvAndSpreadsheet) {
    ClickListRow(0);
    window->filterBox(2)->setText(QStringLiteral("cobro"));
    const QString csv = QString::fromStdString(home.file("haber.csv"));
    port->onDialog = [&](QDialog& d) {
        auto& f = static_cast<QFileDialog&>(d);
        EXPECT_TRUE(
            f.selectedFiles().value(0).endsWith(QStringLiteral("pendientes-haber-4300000001.csv")));
        f.selectFile(csv);
        d.accept();
    };
    window->ExportRows(2, false);
    QFile file(csv);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("\xEF\xBB\xBF"
                                         "Fecha;Asiento;Descripción;Referencia;Importe\r\n"
                                         "12/02/25;5;Cobro X;;-50,05\r\n"
                                         "28/02/25;6;Cobro Y;;-12,34\r\n"));
    EXPECT_EQ(window->statusText().toStdString(),
              std::string("2 filas del haber exportadas a ") + csv.toStdString());

    // The spreadsheet: the chosen name gets its ending, amounts are numbers.
    const QString xlsx = QString::fromStdString(home.file("debe"));
    port->onDialog = [&](QDialog& d) {
        static_cast<QFileDialog&>(d).selectFile(xlsx);
        d.accept();
    };
    window->ExportRows(1, true);
    ASSERT_TRUE(QFile::exists(xlsx + QStringLiteral(".xlsx")));
    QProcess unzip;
    unzip.start(QStringLiteral("unzip"), {QStringLiteral("-p"), xlsx + QStringLiteral(".xlsx"),
                                          QStringLiteral("xl/worksheets/sheet1.xml")});
    if (!unzip.waitForFinished() || unzip.exitCode() != 0) GTEST_SKIP() << "no unzip";
    const QByteArray sheet = unzip.readAllStandardOutput();
    EXPECT_TRUE(sheet.contains("<v>1000</v>"));
    EXPECT_TRUE(sheet.contains("<v>250.1</v>"));
    EXPECT_TRUE(sheet.contains("<v>99.98999"));  // the double nearest 99,99
}

TEST_F(LedgerWindow, SortingChangesTheViewOnlyAndClicksReachTheRightRow) {
    ClickListRow(0);
    const std::vector<GridRow> rows = w->SGrid1.rows();
    QHeaderView* header = window->grid(1)->horizontalHeader();
    auto clickHeader = [&](int section) {
        QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier,
                          QPoint(header->sectionViewportPosition(section) + 5, 5));
    };
    EXPECT_EQ(Column(1, kColDescription), (QStringList{"Venta A", "Venta B", "Venta C"}));
    clickHeader(kColAmount);
    EXPECT_EQ(Column(1, kColAmount), (QStringList{"99,99", "250,10", "1.000,00"}));
    clickHeader(kColAmount);
    EXPECT_EQ(Column(1, kColAmount), (QStringList{"1.000,00", "250,10", "99,99"}));
    // Dates sort as days, not as texts: 31/12/24 comes first.
    clickHeader(kColDate);
    EXPECT_EQ(Column(1, kColDate), (QStringList{"31/12/24", "15/01/25", "20/01/25"}));
    // The logic sees the grid as it was.
    EXPECT_EQ(w->SGrid1.rows(), rows);
    // A Shift+click on the first row shown gives the new reference to that entry.
    ShiftClickCell(1, 0, kColDescription);
    EXPECT_EQ(w->SGrid1.Cell(3, 5), w->newref.text());
    EXPECT_EQ(w->SelectedRow, 3);
    clickHeader(kColDate);
    clickHeader(kColDate);  // a third time: the grid's own order
    EXPECT_EQ(Column(1, kColDescription), (QStringList{"Venta A", "Venta B", "Venta C"}));
    EXPECT_EQ(header->sortIndicatorSection(), -1);
}

TEST_F(LedgerWindow, TheStatusBarTellsTheGroupSaveTheReportAndTheClearing) {
    // The group save: each account named before it is loaded, then the outcome.
    QStringList progress;
    auto* watch = new QTimer(window.get());
    QObject::connect(watch, &QTimer::timeout, window.get(), [&] {
        const QString t = window->progressLabel()->text();
        if (!t.isEmpty() && !progress.contains(t)) progress.append(t);
    });
    watch->start(0);
    Answer(QStringLiteral("Sí"));
    window->ClickToolbar(1, 17);
    watch->stop();
    EXPECT_EQ(progress, (QStringList{"Cuenta 1 de 3: 4300000003", "Cuenta 2 de 3: 4300000002",
                                     "Cuenta 3 de 3: 4300000001"}));
    EXPECT_TRUE(window->progressLabel()->text().isEmpty());
    EXPECT_EQ(window->statusText().toStdString(),
              std::string("Grabación del grupo terminada: 3 cuentas guardadas de 3 (8 apuntes "
                          "escritos); 3 cuentas siguen en la lista."));

    // A PDF report names its file.
    const QString pdf = QString::fromStdString(home.file("informe.pdf"));
    port->onDialog = [&](QDialog& d) {
        if (auto* form = qobject_cast<ParameterForm*>(&d)) {
            qobject_cast<QComboBox*>(form->input(11))->setCurrentIndex(kReportToPdf);
            d.accept();
            return;
        }
        static_cast<QFileDialog&>(d).selectFile(pdf);
        d.accept();
    };
    window->ClickToolbar(1, 25);
    EXPECT_TRUE(QFile::exists(pdf));
    EXPECT_EQ(window->statusText().toStdString(),
              std::string("Informe escrito en ") + pdf.toStdString());

    // Clearing the selected account in every company, then its new matching.
    w->List2.SelectWithoutClick(0);
    Answer(QStringLiteral("Sí"));
    window->ClickToolbar(1, 78);
    EXPECT_TRUE(window->statusText().startsWith(
        QStringLiteral("Referencias y punteo de la cuenta 4300000001 borrados en todas las "
                       "empresas; punteada de nuevo: 7 apuntes escritos")));
}

// --- The keyboard ---------------------------------------------------------------------------

TEST_F(LedgerWindow, ShortcutsReachTheCommands) {
    ClickListRow(0);
    QString opened;
    port->onOpenDocument = [&](const QString& path) { opened = path; };
    Press(Qt::Key_F1);
    EXPECT_TRUE(opened.endsWith(QStringLiteral("punteo.htm")));
    opened.clear();
    Press(Qt::Key_A, Qt::AltModifier);  // "&Ayuda"
    EXPECT_TRUE(opened.endsWith(QStringLiteral("punteo.htm")));
    QString title;
    port->onDialog = [&](QDialog& d) {
        title = d.windowTitle();
        d.reject();
    };
    Press(Qt::Key_P, Qt::ControlModifier);
    EXPECT_EQ(title.toStdString(), "Informe de Pendara");
    title.clear();
    Press(Qt::Key_I, Qt::AltModifier);  // "&Informe"
    EXPECT_EQ(title.toStdString(), "Informe de Pendara");
    port->onDialog = nullptr;

    // Alt+S ("&Sumar Contador Referencia") draws a new reference; Ctrl+S saves the edits.
    const std::string before = w->newref.text();
    Press(Qt::Key_S, Qt::AltModifier);
    EXPECT_NE(w->newref.text(), before);
    ShiftClickCell(1, 2, 4);
    const std::string given = w->SGrid1.Cell(3, 5);
    EXPECT_EQ(given, w->newref.text());
    Press(Qt::Key_S, Qt::ControlModifier);
    EXPECT_FALSE(w->UnsavedEdits);
    EXPECT_EQ(Reference("Venta C"), given);

    // Ctrl+F opens the filter of the grid that has the focus.
    window->grid(2)->setFocus();
    Press(Qt::Key_F, Qt::ControlModifier);
    EXPECT_EQ(QApplication::focusWidget(), window->filterBox(2));
    QTest::keyClicks(window->filterBox(2), "cobro y");
    EXPECT_EQ(window->gridProxy(2)->rowCount(), 1);
    QTest::keyClick(window->filterBox(2), Qt::Key_Escape);
    EXPECT_TRUE(window->filterBox(2)->text().isEmpty());
    window->grid(1)->setFocus();
    Press(Qt::Key_F, Qt::ControlModifier);
    EXPECT_EQ(QApplication::focusWidget(), window->filterBox(1));
}

TEST(Keyboard, TabVisitsEveryControlAndLeavesTheMaskBox) {
    WindowFixture f;
    MainWindow& win = f.Shown();
    QApplication::setActiveWindow(&win);
    FillGrid(f.w->SGrid1, 4);
    FillGrid(f.w->SGrid2, 4);
    win.Refresh();
    std::vector<QWidget*> order = win.tabOrder();
    // Every button of both toolbars, the grids with their filters, the preview and processes
    // buttons.
    EXPECT_EQ(order.size(), 1u + 10u + 5u + 4u + 6u + 2u);
    // Of two exclusive option buttons Tab visits the chosen one only.
    std::erase(order, win.control(Ctl::Option1_0));
    order.front()->setFocus();
    QApplication::processEvents();
    for (std::size_t i = 1; i <= order.size(); ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QWidget* expected = order[i % order.size()];  // and round again to the mask box
        EXPECT_EQ(QApplication::focusWidget(), expected) << i;
        if (QApplication::focusWidget() != expected) break;
    }
    EXPECT_EQ(win.maskBox()->text(), QString());  // Tab typed nothing into it
}

TEST(Keyboard, ArrowsInTheReferenceColumnShowItsSumsAndSpaceAssigns) {
    WindowFixture f;
    MainWindow& win = f.Shown();
    QApplication::setActiveWindow(&win);
    FillGrid(f.w->SGrid1, 6);  // rows 3 and 6 carry RF-1 and RF-2
    f.w->newref.setText("RF-77");
    win.Refresh();
    QTableView* view = win.grid(1);
    view->setFocus();
    view->setCurrentIndex(view->model()->index(1, kColReference));
    QTest::keyClick(view, Qt::Key_Down);
    EXPECT_EQ(f.w->SelectedRow, 3);
    EXPECT_EQ(f.w->SelectedCol, kColReference);
    EXPECT_EQ(f.w->CurrentReference, "RF-1");
    EXPECT_EQ(f.w->Frame4.caption(), "Sumas por referencia: RF-1");
    QTest::keyClick(view, Qt::Key_Left);  // outside the reference column: only the selection
    EXPECT_EQ(f.w->SelectedCol, kColDescription);
    EXPECT_EQ(f.w->CurrentReference, "RF-1");
    QTest::keyClick(view, Qt::Key_Space);
    EXPECT_EQ(f.w->SGrid1.Cell(3, 5), "RF-77");
    EXPECT_TRUE(f.w->UnsavedEdits);
}

// --- What survives a restart ----------------------------------------------------------------

TEST(WindowSettings, GeometryAndColumnWidthsComeBack) {
    WindowFixture f;
    QRect closedAt;
    {
        MainWindow& win = *f.window;
        win.show();
        win.setGeometry(20, 30, 1000, 700);
        win.grid(1)->setColumnWidth(kColDate, 91);
        win.grid(2)->setColumnWidth(kColReference, 143);
        win.grid(2)->setColumnWidth(kColAmount, 400);
        closedAt = win.geometry();
        win.close();
    }
    EXPECT_EQ(GetRegValue("Geometria", kWindowSection).text(), QStringLiteral("%1,%2,%3,%4")
                                                                   .arg(closedAt.x())
                                                                   .arg(closedAt.y())
                                                                   .arg(closedAt.width())
                                                                   .arg(closedAt.height())
                                                                   .toStdString());
    MainWindow again(*f.w, *f.port);
    const QRect available = again.screen()->availableGeometry();
    EXPECT_EQ(again.geometry(), FitOnScreen(closedAt, available, again.minimumSize()));
    EXPECT_EQ(again.grid(1)->columnWidth(kColDate), 91);
    EXPECT_EQ(again.grid(2)->columnWidth(kColReference), 143);
    EXPECT_EQ(again.grid(2)->columnWidth(kColAmount), 400);
    EXPECT_FALSE(again.startMaximised());
}

TEST(WindowSettings, AStoredPlaceIsBroughtOntoTheScreen) {
    const QRect screen(0, 0, 1024, 728);
    const QSize least(871, 539);
    // Off to the right and too tall: moved back and cut to the screen.
    EXPECT_EQ(FitOnScreen(QRect(1500, 10, 1000, 900), screen, least), QRect(24, 0, 1000, 728));
    // Smaller than the window may be: made its minimum.
    EXPECT_EQ(FitOnScreen(QRect(10, 10, 300, 200), screen, least), QRect(10, 10, 871, 539));
    // A screen smaller than the minimum: the minimum, at the corner.
    EXPECT_EQ(FitOnScreen(QRect(50, 50, 900, 600), QRect(0, 0, 800, 600), least),
              QRect(0, 0, 871, 600));
}

// --- Qt's own dialogs -----------------------------------------------------------------------

TEST(Translations, QtsOwnDialogsSpeakSpanish) {
    ASSERT_TRUE(InstallSpanishTranslations(*QCoreApplication::instance()));
    EXPECT_EQ(QCoreApplication::translate("QPlatformTheme", "Cancel"), QStringLiteral("Cancelar"));
    QFileDialog dialog;
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    QStringList texts;
    for (QPushButton* b : dialog.findChildren<QPushButton*>())
        texts.append(b->text());
    EXPECT_TRUE(texts.contains(QStringLiteral("Cancelar"))) << texts.join(',').toStdString();
}

}  // namespace
}  // namespace pendara
