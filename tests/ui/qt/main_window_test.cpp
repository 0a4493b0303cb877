#include <gtest/gtest.h>

#include <QAction>
#include <QCheckBox>
#include <QDialog>
#include <QFontMetrics>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QRadioButton>
#include <QTableView>
#include <QTest>
#include <QToolBar>

#include "host/errors.h"
#include "ui/qt/gauge_widget.h"
#include "ui/qt/grid_model.h"
#include "ui/qt/qt_support.h"

namespace pendara {
namespace {

using testing::FillGrid;
using testing::WindowFixture;

QRect Px(const TwipRect& r, double dpi) {
    return QRect(TwipsToPixels(r.left, dpi), TwipsToPixels(r.top, dpi), TwipsToPixels(r.width, dpi),
                 TwipsToPixels(r.height, dpi));
}

std::vector<QAction*> Buttons(QToolBar* bar) {
    std::vector<QAction*> out;
    for (QAction* a : bar->actions())
        if (!a->isSeparator()) out.push_back(a);
    return out;
}

TEST(MainWindow, ControlsSitAtTheirDesignPlacesWithTheirCaptions) {
    WindowFixture f;
    MainWindow& win = *f.window;
    win.show();
    win.resize(1400, 860);
    double dpi = win.dpi();
    LayoutTable design = DesignLayout();
    // Wider than the design: the top row and the left column keep their places.
    for (Ctl c : {Ctl::Label10, Ctl::Text1, Ctl::Toolbar1, Ctl::Frame4, Ctl::Frame7, Ctl::Frame3,
                  Ctl::TituloL, Ctl::Sumas1, Ctl::Option1_0, Ctl::List2})
        EXPECT_EQ(win.control(c)->geometry().topLeft(), Px(design[c], dpi).topLeft())
            << ControlName(c);
    for (Ctl c : {Ctl::Frame4, Ctl::Frame7, Ctl::Frame3, Ctl::TituloL, Ctl::Sumas1, Ctl::List2})
        EXPECT_EQ(win.control(c)->width(), Px(design[c], dpi).width()) << ControlName(c);
    // The balance keeps its place and is at least as wide as designed: the widest balance fits.
    QLabel* balance = win.balanceLabel();
    EXPECT_EQ(balance->geometry().topLeft(), Px(design[Ctl::SaldoCta], dpi).topLeft());
    EXPECT_GE(balance->width(), Px(design[Ctl::SaldoCta], dpi).width());
    QFont bold = balance->font();
    bold.setBold(true);
    EXPECT_GE(balance->width(), QFontMetrics(bold).horizontalAdvance(
                                    QStringLiteral("Saldo Cuenta: -999.999.999,99")));
    EXPECT_EQ(win.windowTitle(), QStringLiteral("Punteo automático de cuentas"));
    EXPECT_EQ(win.frame(Ctl::Frame1)->title(), QStringLiteral("Partidas pendientes del debe"));
    EXPECT_EQ(win.frame(Ctl::Frame7)->title(), QStringLiteral("Opciones de presentación y punteo"));
    EXPECT_EQ(qobject_cast<QLabel*>(win.control(Ctl::Label3))->text(),
              QStringLiteral("Descripción para facturas:"));
    EXPECT_EQ(qobject_cast<QLineEdit*>(win.control(Ctl::DesFac))->text(), QStringLiteral(" Fra"));
    EXPECT_TRUE(qobject_cast<QRadioButton*>(win.control(Ctl::Option1_1))->isChecked());
    EXPECT_FALSE(qobject_cast<QRadioButton*>(win.control(Ctl::Option1_0))->isChecked());

    for (QWidget* h : win.hiddenControls())
        EXPECT_FALSE(h->isVisible()) << h->objectName().toStdString();
    auto* check1 = win.findChild<QCheckBox*>(QStringLiteral("Check1"));
    ASSERT_NE(check1, nullptr);
    EXPECT_EQ(check1->text(), QStringLiteral("Borrar todas las referencias"));
    EXPECT_FALSE(win.statusPicture(0)->isVisible());
    EXPECT_FALSE(win.statusPicture(1)->isVisible());
}

// Every shown control lies inside its parent and the window, and no two siblings overlap
// (a status picture over the balance, a frame over its neighbour).
void ExpectEveryControlWhole(MainWindow& win) {
    const QRect window = win.rect();
    std::vector<QWidget*> shown;
    for (std::size_t i = 0; i < kControlCount; ++i)
        if (QWidget* c = win.control(static_cast<Ctl>(i))) shown.push_back(c);
    for (int g = 1; g <= 2; ++g)
        shown.push_back(win.footer(g));
    shown.push_back(win.statusBar());
    for (QWidget* c : shown) {
        if (c->isHidden()) continue;
        const QString name = c->objectName();
        EXPECT_GT(c->width(), 0) << name.toStdString();
        EXPECT_TRUE(c->parentWidget()->rect().contains(c->geometry()))
            << name.toStdString() << " sale de " << c->parentWidget()->objectName().toStdString();
        EXPECT_TRUE(window.contains(QRect(c->mapTo(&win, QPoint(0, 0)), c->size())))
            << name.toStdString();
        for (QWidget* other : shown) {
            if (other == c || other->isHidden() || other->parentWidget() != c->parentWidget())
                continue;
            // The two status pictures share one place, one shown at a time.
            if (name.startsWith(QStringLiteral("Image1")) &&
                other->objectName().startsWith(QStringLiteral("Image1")))
                continue;
            // The design lets a few neighbours share one pixel's edge.
            const QRect both = c->geometry().intersected(other->geometry());
            EXPECT_TRUE(both.isEmpty() || both.width() <= 1 || both.height() <= 1)
                << name.toStdString() << " / " << other->objectName().toStdString();
        }
    }
    // Texts that must show whole.
    for (Ctl c : {Ctl::Label10, Ctl::Label2_2, Ctl::Label2_3, Ctl::Label2_4, Ctl::Option1_1,
                  Ctl::Option1_0, Ctl::Label3})
        EXPECT_GE(win.control(c)->width(), win.control(c)->sizeHint().width()) << ControlName(c);
    // Every toolbar button is on the bar, none behind an overflow arrow.
    for (QToolBar* bar : {win.toolbar(1), win.toolbar(2)})
        for (QAction* a : bar->actions())
            if (!a->isSeparator()) {
                QWidget* b = bar->widgetForAction(a);
                ASSERT_NE(b, nullptr);
                EXPECT_TRUE(b->isVisible()) << a->toolTip().toStdString();
                EXPECT_TRUE(bar->rect().contains(b->geometry())) << a->toolTip().toStdString();
            }
    // A grid shows its header and several rows.
    for (int g = 1; g <= 2; ++g) {
        QTableView* view = win.grid(g);
        EXPECT_GE(view->viewport()->height(), 4 * view->verticalHeader()->defaultSectionSize());
    }
}

TEST(MainWindow, TheMinimumSizeFitsA1024By768ScreenAndShowsEveryControl) {
    WindowFixture f;
    MainWindow& win = *f.window;
    FillGrid(f.w->SGrid1, 30);
    FillGrid(f.w->SGrid2, 30);
    f.w->Image1[1].setVisible(true);
    f.w->SaldoCta.setCaption("Saldo Cuenta: -98.765.432,10");
    f.w->SaldoCta.setBold(true);
    win.show();
    win.Refresh();
    // Room for a title bar, frame and task bar on a 1024x768 screen.
    EXPECT_LE(win.minimumWidth(), 1024 - 16);
    EXPECT_LE(win.minimumHeight(), 768 - 80);
    win.resize(win.minimumSize());
    QApplication::processEvents();
    EXPECT_EQ(win.size(), win.minimumSize());
    ExpectEveryControlWhole(win);
    EXPECT_GE(win.balanceLabel()->width(), win.balanceLabel()->sizeHint().width());
    // And every width on the way up to the design's, where the frames change places.
    for (int width : {1008, 1100, 1180, 1240, 1260}) {
        SCOPED_TRACE(width);
        win.resize(width, 700);
        QApplication::processEvents();
        ExpectEveryControlWhole(win);
    }

    // Large screens: the grids and their description column take the width.
    win.resize(1920, 1050);
    QApplication::processEvents();
    ExpectEveryControlWhole(win);
    QTableView* view = win.grid(1);
    EXPECT_GT(view->width(), 1300);
    int others = 0;
    for (int c = 0; c < view->model()->columnCount(); ++c)
        if (c != 4 && !view->isColumnHidden(c)) others += view->columnWidth(c);
    EXPECT_GE(view->columnWidth(4) + others, view->viewport()->width() - 2);
    EXPECT_GT(view->columnWidth(4), 600);
}

TEST(MainWindow, ResizeFollowsTheLayoutRulesWhereTheyHold) {
    WindowFixture f;
    MainWindow& win = f.Shown();
    QApplication::processEvents();
    double dpi = win.dpi();
    const double w = PixelsToTwips(1300, dpi);
    const double h = PixelsToTwips(800, dpi);
    LayoutTable rules = DesignLayout();
    FormResize(rules, w, h - win.measures().statusHeight);
    // The heights, the gauge and the status frame's right-hand side are the rules'.
    for (Ctl c : {Ctl::Frame1, Ctl::Frame2, Ctl::List2, Ctl::Picture1}) {
        EXPECT_EQ(win.control(c)->y(), Px(rules[c], dpi).y()) << ControlName(c);
        EXPECT_EQ(win.control(c)->height(), Px(rules[c], dpi).height()) << ControlName(c);
    }
    EXPECT_EQ(win.control(Ctl::Picture1)->width(), Px(rules[Ctl::Picture1], dpi).width());
    // The status frame's toolbar 200 twips from its right edge, the pictures 200 before it.
    const QRect tb2 = win.control(Ctl::Toolbar2)->geometry();
    const QRect image = win.control(Ctl::Image1_0)->geometry();
    EXPECT_NEAR(win.frame(Ctl::Frame5)->width() - (tb2.x() + tb2.width()), TwipsToPixels(200, dpi),
                1);
    EXPECT_NEAR(tb2.x() - (image.x() + image.width()), TwipsToPixels(200, dpi), 1);
    // Departures: the grid frames end at the margin instead of past the window's edge, and
    // the status bar runs along the bottom under the gauge.
    EXPECT_EQ(win.frame(Ctl::Frame1)->geometry().right() + 1, 1300 - TwipsToPixels(120, dpi));
    EXPECT_EQ(win.frame(Ctl::Frame2)->geometry().right(),
              win.frame(Ctl::Frame1)->geometry().right());
    EXPECT_EQ(win.statusBar()->geometry().bottom() + 1, 800);
    EXPECT_EQ(win.control(Ctl::Picture1)->geometry().bottom() + 1, win.statusBar()->y());

    // Smaller than its minimum the window does not get; no rule fails on the way.
    win.resize(3, 3);
    win.showMinimized();
    QApplication::processEvents();
    win.resize(900, 600);
    EXPECT_GT(win.grid(1)->width(), 0);
    EXPECT_GE(win.width(), win.minimumWidth());
}

TEST(MainWindow, NoticesOfTheEnhancedMatchingStayBesideTheBalanceUntilClicked) {
    WindowFixture f;
    MainWindow& win = f.Shown();
    QLabel* notice = win.noticeLabel();
    EXPECT_FALSE(notice->isVisible());
    const std::string first = "Punteo mejorado: la cuenta 4300000001 llegó al límite";
    f.w->AvisoPunteo.setCaption(first);
    win.Refresh();
    EXPECT_TRUE(notice->isVisible());
    EXPECT_TRUE(notice->toolTip().startsWith(QString::fromStdString(first)));
    // The next account's run clears the text; the mark stays, and a second account adds to it.
    f.w->AvisoPunteo.setCaption("");
    win.Refresh();
    EXPECT_TRUE(notice->isVisible());
    f.w->AvisoPunteo.setCaption("Punteo mejorado: la cuenta 5720000001 llegó al límite");
    win.Refresh();
    EXPECT_EQ(notice->text(), QStringLiteral("⚠ Límite (2)"));
    EXPECT_TRUE(notice->toolTip().contains(QStringLiteral("5720000001")));
    EXPECT_TRUE(notice->toolTip().contains(QStringLiteral("4300000001")));
    EXPECT_FALSE(notice->geometry().intersects(win.balanceLabel()->geometry()));
    EXPECT_GE(notice->width(), notice->sizeHint().width());
    QTest::mouseClick(notice, Qt::LeftButton);
    EXPECT_FALSE(notice->isVisible());
}

TEST(MainWindow, GridsShowTheirRowsFromAModelWithHeadersWidthsAndAlignment) {
    WindowFixture f;
    MainWindow& win = *f.window;
    FillGrid(f.w->SGrid1, 20000);
    FillGrid(f.w->SGrid2, 3);
    win.Refresh();
    GridModel* m = win.gridModel(1);
    EXPECT_EQ(m->rowCount(), 20000);
    EXPECT_EQ(m->columnCount(), 9);
    EXPECT_EQ(m->data(m->index(19999, 4), Qt::DisplayRole).toString(),
              QStringLiteral("Fra. 20000"));
    EXPECT_EQ(m->headerData(4, Qt::Horizontal, Qt::DisplayRole).toString(),
              QStringLiteral("Descripción"));
    EXPECT_EQ(m->headerData(1, Qt::Horizontal, Qt::DisplayRole).toString(), QStringLiteral("N"));
    EXPECT_EQ(win.gridModel(2)->headerData(1, Qt::Horizontal, Qt::DisplayRole).toString(),
              QStringLiteral("R"));
    auto align = m->data(m->index(0, 6), Qt::TextAlignmentRole).value<Qt::Alignment>();
    EXPECT_TRUE(align & Qt::AlignRight);
    align = m->data(m->index(0, 4), Qt::TextAlignmentRole).value<Qt::Alignment>();
    EXPECT_TRUE(align & Qt::AlignLeft);
    QTableView* view = win.grid(1);
    EXPECT_TRUE(view->isColumnHidden(1));
    EXPECT_TRUE(view->isColumnHidden(7));
    EXPECT_FALSE(view->isColumnHidden(8));
    EXPECT_GT(view->columnWidth(4), 4 * view->columnWidth(3));  // 35 against 6 characters

    // A change of one cell redraws without a reset; a change of the row count resets.
    f.w->SGrid1.SetCell(2, 5, "RF-99");
    win.Refresh();
    EXPECT_EQ(m->data(m->index(1, 5), Qt::DisplayRole).toString(), QStringLiteral("RF-99"));
    f.w->SGrid1.Clear();
    win.Refresh();
    EXPECT_EQ(m->rowCount(), 1);
}

TEST(MainWindow, GridsWaitWhileRedrawIsOff) {
    WindowFixture f;
    f.w->SGrid2.SetRedraw(false);
    f.w->SGrid2.SetRows(50);
    f.window->Refresh();
    EXPECT_EQ(f.window->gridModel(2)->rowCount(), 1);
    f.w->SGrid2.SetRedraw(true);
    f.window->Refresh();
    EXPECT_EQ(f.window->gridModel(2)->rowCount(), 50);
}

TEST(MainWindow, BalanceLabelColourAndWeightAndStatusPictures) {
    WindowFixture f;
    MainWindow& win = f.Shown();
    f.w->SaldoCta.setCaption("Saldo Cuenta: -120,00");
    f.w->SaldoCta.setForeColor(kColourRed);
    f.w->SaldoCta.setBold(true);
    f.w->Image1[1].setVisible(true);
    f.w->TituloL.setCaption("CLIENTE UNO, S.L.");
    f.w->Frame5.setCaption("Estado de la cuenta activa 4300000138 ");
    win.Refresh();
    EXPECT_EQ(win.balanceLabel()->text(), QStringLiteral("Saldo Cuenta: -120,00"));
    EXPECT_EQ(win.balanceLabel()->palette().color(QPalette::WindowText), QColor(255, 0, 0));
    EXPECT_TRUE(win.balanceLabel()->font().bold());
    EXPECT_TRUE(win.statusPicture(1)->isVisible());
    EXPECT_FALSE(win.statusPicture(0)->isVisible());
    EXPECT_EQ(win.statusPicture(1)->toolTip(),
              QStringLiteral("Doble clic para grabar punteo en contabilidad"));
    EXPECT_EQ(win.titleLabel()->text(), QStringLiteral("CLIENTE UNO, S.L."));
    EXPECT_EQ(win.frame(Ctl::Frame5)->title(),
              QStringLiteral("Estado de la cuenta activa 4300000138 "));

    f.w->SaldoCta.setForeColor(kColourBlack);
    f.w->SaldoCta.setBold(false);
    f.w->Image1[1].setVisible(false);
    f.w->Image1[0].setVisible(true);
    win.Refresh();
    EXPECT_EQ(win.balanceLabel()->palette().color(QPalette::WindowText), QColor(0, 0, 0));
    EXPECT_FALSE(win.balanceLabel()->font().bold());
    EXPECT_TRUE(win.statusPicture(0)->isVisible());
    // The picture is drawn, not an empty hole.
    QImage pic = win.statusPicture(0)->grab().toImage();
    QColor centre = pic.pixelColor(pic.width() / 2, pic.height() / 2);
    EXPECT_NE(centre, win.palette().color(QPalette::Window));
}

TEST(MainWindow, ToolbarsCarryTheButtonMapsAndSwitchToTheStopButton) {
    WindowFixture f;
    MainWindow& win = *f.window;
    std::vector<QAction*> b1 = Buttons(win.toolbar(1));
    ASSERT_EQ(b1.size(), 10u);
    EXPECT_EQ(win.toolbar(1)->actions().size(), 12);
    const int keys[] = {80, 20, 23, 78, 17, 25, 8, 12, 13, 112};
    for (std::size_t i = 0; i < b1.size(); ++i) {
        EXPECT_EQ(b1[i]->data().toInt(), keys[i]);
        EXPECT_FALSE(b1[i]->icon().isNull());
    }
    EXPECT_TRUE(win.toolbar(1)->actions()[2]->isSeparator());
    EXPECT_EQ(b1[0]->toolTip(), QStringLiteral("Anterior"));
    EXPECT_EQ(b1[9]->toolTip(), QStringLiteral("Ayuda"));
    std::vector<QAction*> b2 = Buttons(win.toolbar(2));
    ASSERT_EQ(b2.size(), 4u);
    EXPECT_EQ(b2[1]->toolTip(), QStringLiteral("Ver detalle de la referencia seleccionada"));

    f.w->Toolbar1.SetButtons(kToolbar1RunImages, kToolbar1RunTips);
    win.Refresh();
    std::vector<QAction*> run = Buttons(win.toolbar(1));
    ASSERT_EQ(run.size(), 1u);
    EXPECT_EQ(run[0]->toolTip(), QStringLiteral("Parar Proceso"));
    f.w->StopRequested = false;
    run[0]->trigger();
    EXPECT_TRUE(f.w->StopRequested);
    f.w->Toolbar1.SetButtons(kToolbar1Images, kToolbar1Tips);
    win.Refresh();
    EXPECT_EQ(Buttons(win.toolbar(1)).size(), 10u);
}

TEST(MainWindow, ACellClickRecordsTheSelectionAndShiftGivesModifierOne) {
    WindowFixture f;
    MainWindow& win = f.Shown();
    FillGrid(f.w->SGrid2, 10);
    f.w->newref.setText("RF-500");
    win.Refresh();
    QTableView* view = win.grid(2);
    QRect cell = view->visualRect(view->model()->index(3, 3));  // row 4, column 3
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
    EXPECT_EQ(f.w->SelectedGrid, 2);
    EXPECT_EQ(f.w->SelectedRow, 4);
    EXPECT_EQ(f.w->SelectedCol, 3);
    EXPECT_EQ(f.w->SGrid2.Row, 4);
    EXPECT_EQ(f.w->SGrid2.Col, 3);
    EXPECT_EQ(f.w->SGrid2.Cell(4, 5), "");

    cell = view->visualRect(view->model()->index(1, 4));
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::ShiftModifier, cell.center());
    EXPECT_EQ(f.w->SelectedRow, 2);
    EXPECT_EQ(f.w->SelectedCol, 4);
    // Shift writes the new reference into the row's reference cell.
    EXPECT_EQ(f.w->SGrid2.Cell(2, 5), "RF-500");
}

TEST(MainWindow, AccountListFollowsTheStateAndAClickSelects) {
    WindowFixture f;
    MainWindow& win = f.Shown();
    f.w->List2.AddItem("4300000001 CLIENTE UNO");
    f.w->List2.AddItem("4300000002 CLIENTE DOS");
    f.w->List2.AddItem("4300000003 CLIENTE TRES");
    win.Refresh();
    QListView* list = win.accountList();
    EXPECT_EQ(list->model()->rowCount(), 3);
    int clicks = 0;
    f.w->List2.onClick = [&] { ++clicks; };
    QRect r = list->visualRect(list->model()->index(1, 0));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, r.center());
    EXPECT_EQ(f.w->List2.ListIndex(), 1);
    EXPECT_EQ(clicks, 1);
    // Selecting from the program moves the view without a second click.
    f.w->List2.onClick = nullptr;
    f.w->List2.SetListIndex(2);
    win.Refresh();
    EXPECT_EQ(list->currentIndex().row(), 2);
    EXPECT_EQ(f.w->List2.ListIndex(), 2);
}

TEST(MainWindow, AProgramEndFromAHandlerClosesTheWindowWithItsCode) {
    WindowFixture f;
    MainWindow& win = f.Shown();
    f.w->List2.AddItem("4300000001 CLIENTE UNO");
    win.Refresh();
    f.w->List2.onClick = [] { throw ProgramEnd{3}; };
    win.ClickAccount(0);
    EXPECT_EQ(win.exitCode(), 3);
    EXPECT_FALSE(win.isVisible());
}

TEST(MainWindow, AHostFailureIsShownThenEndsTheProgram) {
    WindowFixture f;
    MainWindow& win = f.Shown();
    f.w->List2.AddItem("4300000001 CLIENTE UNO");
    win.Refresh();
    QString shown;
    f.port->onDialog = [&](QDialog& d) {
        for (QLabel* l : d.findChildren<QLabel*>())
            if (!l->text().isEmpty()) shown = l->text();
        d.accept();
    };
    f.w->List2.onClick = [] { throw HostError("Fichero de apuntes dañado"); };
    win.ClickAccount(0);
    EXPECT_EQ(shown, QStringLiteral("Fichero de apuntes dañado"));
    EXPECT_EQ(win.exitCode(), 1);
}

TEST(MainWindow, TextBoxesWriteBackWhatTheUserTypes) {
    WindowFixture f;
    MainWindow& win = f.Shown();
    QLineEdit* desFac = qobject_cast<QLineEdit*>(win.control(Ctl::DesFac));
    desFac->clear();
    QTest::keyClicks(desFac, "Factura");
    EXPECT_EQ(f.w->DesFac.text(), "Factura");
    f.w->Text1.setText("572");
    win.Refresh();
    EXPECT_EQ(win.maskBox()->text(), QStringLiteral("572"));
}

TEST(GaugeWidget, DrawsTheBarAndTheCentredPercentage) {
    WindowFixture f;
    MainWindow& win = f.Shown();
    GaugeWidget* g = qobject_cast<GaugeWidget*>(win.control(Ctl::Picture1));
    ASSERT_NE(g, nullptr);
    f.w->UpdateGauge(-1);
    f.w->UpdateGauge(1, 4);  // 25%: black text
    QImage img = g->grab().toImage();
    int w = img.width();
    int h = img.height();
    QColor blue(0, 0, 0x80);
    EXPECT_EQ(img.pixelColor(2, h / 2), blue);
    EXPECT_EQ(img.pixelColor(w / 4 + 3, h / 2), GaugeWidget::Background());
    EXPECT_EQ(img.pixelColor(w - 3, h / 2), GaugeWidget::Background());
    auto countNear = [&](QColor c, int x0, int x1) {
        int n = 0;
        for (int y = 0; y < h; ++y)
            for (int x = x0; x < x1; ++x) {
                QColor p = img.pixelColor(x, y);
                if (std::abs(p.red() - c.red()) < 60 && std::abs(p.green() - c.green()) < 60 &&
                    std::abs(p.blue() - c.blue()) < 60)
                    ++n;
            }
        return n;
    };
    EXPECT_GT(countNear(Qt::black, w / 2 - 30, w / 2 + 30), 5);  // the text, centred

    f.w->UpdateGauge(3, 4);  // 75%: yellow text over the bar
    img = g->grab().toImage();
    EXPECT_EQ(img.pixelColor(w * 3 / 4 - 3, h / 2), blue);
    EXPECT_EQ(img.pixelColor(w - 3, h / 2), GaugeWidget::Background());
    EXPECT_GT(countNear(QColor(255, 255, 0), w / 2 - 30, w / 2 + 30), 5);
    EXPECT_EQ(countNear(QColor(255, 255, 0), 0, w / 2 - 40), 0);

    f.w->UpdateGauge(0);
    img = g->grab().toImage();
    EXPECT_EQ(img.pixelColor(2, h / 2), GaugeWidget::Background());
}

}  // namespace
}  // namespace pendara
