#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QFileDialog>
#include <QImage>
#include <QInputDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPainter>
#include <QPrintPreviewWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTableView>
#include <QTest>
#include <QToolButton>
#include <QValidator>

#include "host/conversions.h"
#include "host/report_output.h"
#include "support/temp_dir.h"
#include "ui/qt/account_lookup.h"
#include "ui/qt/parameter_dialog.h"
#include "ui/qt/qt_port.h"
#include "ui/qt/report_view.h"
#include "ui/qt/wait_dialog.h"

namespace pendara {
namespace {

TEST(MessageBox, StyleGivesButtonsIconDefaultAndTitle) {
    QtPort port;
    QMessageBox::Icon icon{};
    QString title, yes, no;
    bool noIsDefault = false;
    port.onDialog = [&](QDialog& d) {
        auto& box = static_cast<QMessageBox&>(d);
        icon = box.icon();
        title = box.windowTitle();
        yes = box.button(QMessageBox::Yes)->text();
        no = box.button(QMessageBox::No)->text();
        noIsDefault = box.defaultButton() == box.button(QMessageBox::No);
        box.button(QMessageBox::Yes)->click();
    };
    EXPECT_EQ(port.MsgBox("¿Seguro?", 324, ""), kVbYes);
    EXPECT_EQ(icon, QMessageBox::Information);
    EXPECT_EQ(title, QStringLiteral("Pendara"));
    EXPECT_EQ(yes, QStringLiteral("Sí"));
    EXPECT_EQ(no, QStringLiteral("No"));
    EXPECT_TRUE(noIsDefault);

    QString ok;
    port.onDialog = [&](QDialog& d) {
        auto& box = static_cast<QMessageBox&>(d);
        icon = box.icon();
        title = box.windowTitle();
        ok = box.defaultButton()->text();
        QTest::keyClick(&box, Qt::Key_Return);
    };
    EXPECT_EQ(port.MsgBox("Fallo", kVbCritical, "Pendara. Empresas consultadas"), kVbOK);
    EXPECT_EQ(icon, QMessageBox::Critical);
    EXPECT_EQ(title, QStringLiteral("Pendara. Empresas consultadas"));
    EXPECT_EQ(ok, QStringLiteral("Aceptar"));

    // Escape on a Yes/No question answers No.
    port.onDialog = [](QDialog& d) { QTest::keyClick(&d, Qt::Key_Escape); };
    EXPECT_EQ(port.MsgBox("¿Seguro?", kVbYesNo + kVbQuestion, ""), kVbNo);
}

TEST(InputBox, AccessKeysAreHiddenAndCancelGivesEmpty) {
    QtPort port;
    QLineEdit::EchoMode echo{};
    port.onDialog = [&](QDialog& d) {
        auto& in = static_cast<QInputDialog&>(d);
        echo = in.textEchoMode();
        in.setTextValue(QStringLiteral("punteo"));
        in.accept();
    };
    EXPECT_EQ(port.InputBox("Clave de acceso", "Quorvex", true), "punteo");
    EXPECT_EQ(echo, QLineEdit::Password);
    port.onDialog = [](QDialog& d) { d.reject(); };
    EXPECT_EQ(port.InputBox("Clave de acceso", "Quorvex", true), "");
}

TEST(AccountLookup, SearchesByCodeAndNameAndReturnsTheChosenCode) {
    std::vector<AccountChoice> chart{{"4300000001", "Comercial García"},
                                     {"4300000002", "Talleres López"},
                                     {"5720000001", "Bancos, cuenta corriente principal"}};
    AccountLookupDialog d(QStringLiteral("Selección de cuenta"), chart);
    EXPECT_EQ(d.visibleRows(), 3);
    QTest::keyClicks(d.searchBox(), "talleres");
    EXPECT_EQ(d.visibleRows(), 1);
    EXPECT_EQ(d.chosenCode(), "4300000002");
    d.searchBox()->setText(QStringLiteral("572"));
    EXPECT_EQ(d.visibleRows(), 1);
    EXPECT_EQ(d.chosenCode(), "5720000001");
    d.searchBox()->setText(QStringLiteral("zzz"));
    EXPECT_EQ(d.chosenCode(), "");
}

// Whether an edit accepts a text as its whole content.
bool Fits(const QLineEdit* edit, const char* utf8) {
    QString text = QString::fromUtf8(utf8);
    int pos = 0;
    return !edit->validator() || edit->validator()->validate(text, pos) == QValidator::Acceptable;
}

TEST(ParameterDialog, EveryKindHasItsInputAndWritesItsAnswer) {
    ParameterValues values{{"Desde Cuenta", "4300000001"},
                           {"Cuentas coincidentes con", "??????????"},
                           {"Desde Fecha", "01/01/99"},
                           {"Apuntes no punteados", "1"},
                           {"Solo cuentas con saldo mayor que €", ".01"},
                           {"Punteo Correcto", ""},
                           {"Salida a", ""},
                           {"Opción A", "0"},
                           {"Opción B", "0"}};
    ParameterKinds kinds{{10, 20}, {10, 0}, {8, 5},  {1, 30}, {12, 3},
                         {1, 61},  {0, 71}, {0, 31}, {0, 31}};
    QtPort port;
    bool seen = false;
    port.onDialog = [&](QDialog& d) {
        auto& f = static_cast<ParameterForm&>(d);
        seen = true;
        auto* account = qobject_cast<QLineEdit*>(f.input(0));
        ASSERT_NE(account, nullptr);
        EXPECT_TRUE(Fits(account, "ñ€𝄞4567890"));  // ten characters, fourteen UTF-16 units
        EXPECT_FALSE(Fits(account, "43000001381"));
        account->clear();
        QTest::keyClicks(account, "57x2");  // the account key filter refuses letters
        EXPECT_EQ(account->text(), QStringLiteral("572"));
        // A character beyond the 16-bit range is one key, refused like any other letter.
        QKeyEvent clef(QEvent::KeyPress, 0, Qt::NoModifier, QString::fromUtf8("𝄞"));
        QApplication::sendEvent(account, &clef);
        EXPECT_EQ(account->text(), QStringLiteral("572"));
        // The look-up button offers the chart and puts the chosen code in.
        port.onDialog = [](QDialog& lookup) {
            auto& l = static_cast<AccountLookupDialog&>(lookup);
            l.searchBox()->setText(QStringLiteral("Banco"));
            l.accept();
        };
        f.findChild<QToolButton*>(QStringLiteral("lookup0"))->click();
        EXPECT_EQ(account->text(), QStringLiteral("5720000001"));

        auto* date = qobject_cast<QLineEdit*>(f.input(2));
        EXPECT_EQ(date->text(), QStringLiteral("01/01/99"));
        date->setText(QStringLiteral("31/12/25"));
        auto* check = qobject_cast<QCheckBox*>(f.input(3));
        EXPECT_TRUE(check->isChecked());
        check->setChecked(false);
        auto* number = qobject_cast<QLineEdit*>(f.input(4));
        EXPECT_EQ(number->text(), QStringLiteral("0,01"));  // shown with a decimal comma
        EXPECT_TRUE(number->alignment() & Qt::AlignRight);
        number->setText(QStringLiteral("1.234,5"));
        auto* mark = qobject_cast<QLineEdit*>(f.input(5));
        EXPECT_EQ(mark->text(), QStringLiteral("1"));  // the value travels in the length
        EXPECT_TRUE(Fits(mark, "𝄞"));
        EXPECT_TRUE(Fits(mark, "ñ"));
        EXPECT_FALSE(Fits(mark, "€1"));
        mark->setText(QStringLiteral("X"));
        auto* output = qobject_cast<QComboBox*>(f.input(6));
        EXPECT_EQ(output->count(), static_cast<int>(ReportDestinationNames().size()));
        output->setCurrentIndex(kReportToCsv);
        qobject_cast<QRadioButton*>(f.input(8))->setChecked(true);
        d.accept();
    };
    auto chart = [] {
        return std::vector<AccountChoice>{{"4300000001", "Comercial García"},
                                          {"5720000001", "Bancos, cuenta corriente principal"}};
    };
    ASSERT_TRUE(port.ParameterDialog("Informe de Pendara", values, kinds, chart));
    EXPECT_TRUE(seen);
    EXPECT_EQ(values[0][1], "5720000001");
    EXPECT_EQ(values[1][1], "??????????");
    EXPECT_EQ(values[2][1], "31/12/25");
    EXPECT_EQ(values[3][1], "0");
    EXPECT_EQ(values[4][1], "1234.5");  // handed back with the point the parameter list reads
    EXPECT_EQ(values[5][1], "X");
    EXPECT_EQ(values[6][0], std::to_string(kReportToCsv));  // the choice goes to the label column
    EXPECT_EQ(values[7][1], "0");
    EXPECT_EQ(values[8][1], "-1");
}

TEST(ParameterDialog, NumbersAreShownWithACommaAndHandedBackWithAPoint) {
    EXPECT_EQ(NumberForDialog(".01"), "0,01");
    EXPECT_EQ(NumberForDialog("-.5"), "-0,5");
    EXPECT_EQ(NumberForDialog("12"), "12");
    EXPECT_EQ(NumberForDialog("0"), "0");
    EXPECT_EQ(NumberForDialog(""), "");
    EXPECT_EQ(NumberFromDialog("0,01"), "0.01");
    EXPECT_EQ(NumberFromDialog("1.234.567,8"), "1234567.8");
    EXPECT_EQ(NumberFromDialog("12.5"), "12.5");  // a lone point is a decimal point
    EXPECT_EQ(NumberFromDialog("-7"), "-7");
    EXPECT_EQ(NumberFromDialog("  "), "");
    // The parameter list's own reading of what comes back: the comma form would read as 0.
    EXPECT_DOUBLE_EQ(LeadingNumber(NumberFromDialog("0,01")), 0.01);
    EXPECT_DOUBLE_EQ(LeadingNumber("0,01"), 0.0);
}

TEST(ParameterDialog, CancelLeavesTheValuesAsTheyWere) {
    ParameterValues values{{"Punteo Correcto", ""}, {"Forzar Punteo cuando saldo sea 0", "0"}};
    ParameterKinds kinds{{1, 61}, {1, 30}};
    ParameterValues before = values;
    QtPort port;
    port.onDialog = [](QDialog& d) {
        static_cast<ParameterForm&>(d).findChild<QCheckBox*>()->setChecked(true);
        d.reject();
    };
    EXPECT_FALSE(port.ParameterDialog("Configuración de Punteo", values, kinds, nullptr));
    EXPECT_EQ(values, before);
}

// Polls as the posting does while another workstation holds a file.
TEST(WaitForFile, SaysWhatAndHowLongLetsTheUserGiveUpAndGoesAwayWhenTheWaitEnds) {
    QtPort port;
    const std::string file = "/datos/extraD1.qvd";
    EXPECT_TRUE(port.WaitingForFile(file, 2.0));
    WaitDialog* d = port.waitDialog();
    ASSERT_NE(d, nullptr);
    EXPECT_TRUE(d->isVisible());
    EXPECT_EQ(d->messageLabel()->text().toStdString(),
              "Esperando a que otro puesto libere /datos/extraD1.qvd...");
    EXPECT_TRUE(port.WaitingForFile(file, 7.9));
    bool saysSeconds = false;
    for (QLabel* l : d->findChildren<QLabel*>())
        saysSeconds |= l->text() == QStringLiteral("Esperando desde hace 7 s.");
    EXPECT_TRUE(saysSeconds);

    // The click is seen on the next poll, which gives the wait up.
    QTest::mouseClick(d->giveUpButton(), Qt::LeftButton);
    EXPECT_FALSE(port.WaitingForFile(file, 8.0));
    EXPECT_FALSE(d->isVisible());

    // The next save waits again from the start, and the notice leaves once the polls stop.
    EXPECT_TRUE(port.WaitingForFile(file, 2.0));
    EXPECT_TRUE(d->isVisible());
    QTest::qWait(800);
    EXPECT_FALSE(d->isVisible());
    EXPECT_TRUE(port.WaitingForFile(file, 2.0));
}

TEST(SaveFile, TheChosenPathOrEmptyWhenCancelled) {
    QtPort port;
    QString suggested;
    port.onDialog = [&](QDialog& d) {
        auto& f = static_cast<QFileDialog&>(d);
        EXPECT_EQ(f.acceptMode(), QFileDialog::AcceptSave);
        suggested = f.selectedFiles().value(0);
        f.selectFile(QStringLiteral("/tmp/informe-prueba.pdf"));
        d.accept();
    };
    EXPECT_EQ(port.AskSaveFile("Guardar informe", "informe.pdf", "PDF (*.pdf)"),
              "/tmp/informe-prueba.pdf");
    EXPECT_TRUE(suggested.endsWith(QStringLiteral("informe.pdf")));
    port.onDialog = [](QDialog& d) { d.reject(); };
    EXPECT_EQ(port.AskSaveFile("Guardar informe", "informe.pdf", "PDF (*.pdf)"), "");
}

// A report of the window's columns; its text is the caller's.
ReportRequest Report() {
    ReportRequest r;
    r.title = "Informe de punteo de extractos";
    r.columns = "Fecha,Asiento,Descripción,Referencia,Importe";
    r.alignments = "5,0,0,0,3";
    r.date = "23/11/26";
    r.companyName = "DEMO2025";
    return r;
}

TEST(ReportView, PagesAreLaidOutWithQtFontsAndDrawn) {
    ReportRequest r = Report();
    r.text =
        "_4300000001 - Comercial García\r\n01/02/25\t7\tFra. 12\t\t1.210,00\r\n\r\n\t\tTotal\t\t"
        "1.210,00\r\n";
    ReportLayout layout = PreviewLayout(r);
    ASSERT_EQ(layout.pages.size(), 1u);
    bool hasTitle = false;
    for (const LaidText& t : layout.pages[0].texts)
        hasTitle = hasTitle || t.text == r.title;
    EXPECT_TRUE(hasTitle);

    QImage page(600, 850, QImage::Format_RGB32);
    page.fill(Qt::white);
    {
        QPainter p(&page);
        PaintReportPage(p, layout.pages[0], 600 / layout.size.width);
    }
    int dark = 0;
    for (int y = 0; y < page.height(); ++y)
        for (int x = 0; x < page.width(); ++x)
            if (qGray(page.pixel(x, y)) < 128) ++dark;
    EXPECT_GT(dark, 200);
}

// Pages of a PDF file: its page objects.
int PdfPageCount(const std::string& path) {
    const std::string pdf = testing::ReadAll(path);
    int pages = 0;
    for (std::size_t at = pdf.find("/Type /Page"); at != std::string::npos;
         at = pdf.find("/Type /Page", at + 1))
        if (at + 11 < pdf.size() && pdf[at + 11] != 's') ++pages;
    return pages;
}

// The preview as the user opens it and the PDF file break the same report into the same pages,
// whatever its length.
TEST(ReportView, ThePreviewHasAsManyPagesAsThePdf) {
    testing::TempDir dir;
    ReportRequest r = Report();
    r.criteria = {{"Cuentas", "desde 1 hasta 9"}};
    r.totals = ReportTotals{};
    std::string text;
    int compared = 0;
    for (int account = 0; account < 40; ++account) {
        // Accounts of different lengths, with groups and blank lines, so that page ends fall
        // on every kind of line.
        text += "_43000000" + std::to_string(10 + account) + " - Cliente García\r\n";
        for (int e = 0; e < 3 + account % 7; ++e)
            text += "01/02/25\t" + std::to_string(e) + "\tFra. " + std::to_string(e) +
                    "\t\t1.210,00\r\n";
        if (account % 3 == 0)
            text += "\r\n*Referencia: R" + std::to_string(account) +
                    "\r\n03/02/25\t9\tCobro\tR\t-5,00\r\n\t\tSaldo\t-5,00\r\n";
        text +=
            "\r\n\t\tTotal\t\t1,00\r\n\t\tSaldo según último balance\t\t1,00\r\n"
            "\t\tDiferencia\t\t0,00\r\n\r\n\r\n";
        if (account % 4 != 3) continue;
        r.text = text;
        const std::string pdf = dir.file("r" + std::to_string(account) + ".pdf");
        WriteReportPdf(r, pdf);
        int previewPages = -1;
        ShowReportDialog(r, ReportScreenTarget::Preview, nullptr, [&](QDialog& d) {
            auto* preview = d.findChild<QPrintPreviewWidget*>();
            if (preview) {
                preview->updatePreview();
                previewPages = preview->pageCount();
            }
            return 0;
        });
        EXPECT_EQ(previewPages, PdfPageCount(pdf)) << account + 1 << " accounts";
        EXPECT_EQ(static_cast<std::size_t>(previewPages), PreviewLayout(r).pages.size());
        ++compared;
    }
    EXPECT_EQ(compared, 10);
    EXPECT_GT(PdfPageCount(dir.file("r39.pdf")), 3);
}

}  // namespace
}  // namespace pendara
