#include "ui/qt/screenshot_tour.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QLineEdit>
#include <QListView>
#include <QProcess>
#include <QScreen>
#include <QTimer>
#include <cstdlib>

#include "host/conversions.h"
#include "ui/pndra.h"
#include "ui/qt/icons.h"
#include "ui/qt/parameter_dialog.h"
#include "ui/qt/qt_main_window.h"
#include "ui/qt/qt_port.h"
#include "ui/qt/qt_text.h"

namespace pendara {

namespace {

void Shoot(const QString& file) {
    for (int i = 0; i < 5; ++i)
        QCoreApplication::processEvents();
    QProcess::execute(QStringLiteral("import"),
                      {QStringLiteral("-window"), QStringLiteral("root"), file});
}

// The first row of a grid whose reference cell is not empty, 0 when none.
int RowWithReference(const Grid& g) {
    for (int r = 1; r <= g.Rows(); ++r)
        if (!Trim(g.Cell(r, 5)).empty()) return r;
    return 0;
}

// Every button either toolbar can show, as the toolbars draw it.
void DrawIcons(const QString& dir) {
    QDir().mkpath(dir);
    for (int key : {80, 20, 23, 78, 17, 25, 8, 12, 13, 112, 117, 21})
        ToolbarIcon(key).pixmap(24, 24).save(QDir(dir).filePath(QStringLiteral("%1.png").arg(key)));
}

// Loads the first customer account with open entries on both sides: the fullest picture.
void LoadFullAccount(MainWindow& window) {
    Pndra& w = window.state();
    if (w.List2.ListCount() == 0) window.ClickToolbar(1, 8);
    const int n = w.List2.ListCount();
    for (int i = 0; i < n && i < 60; ++i) {
        if (w.List2.List(i).rfind("430", 0) != 0) continue;
        window.ClickAccount(i);
        if (w.SGrid1.Rows() > 3 && w.SGrid2.Rows() > 2) return;
    }
    if (n > 0) window.ClickAccount(0);
}

}  // namespace

void StartScreenshotTour(MainWindow& window, QtPort& port, const char* dir) {
    QString out = QString::fromLocal8Bit(dir);
    QDir().mkpath(out);
    if (const char* icons = std::getenv("PENDARA_HELP_ICONS"))
        DrawIcons(QString::fromLocal8Bit(icons));
    QTimer::singleShot(500, &window, [&window, &port, out] {
        Pndra& w = window.state();
        const QRect screen = window.screen()->availableGeometry();
        window.setGeometry(screen);
        LoadFullAccount(window);
        Shoot(QDir(out).filePath(QStringLiteral("main-%1.png").arg(screen.width())));
        if (screen.width() >= 1200) {
            window.close();
            QCoreApplication::exit(0);
            return;
        }

        // Every entry of the account, so that matched rows show their references.
        window.ClickOption(0);
        const Grid& g = RowWithReference(w.SGrid1) ? w.SGrid1 : w.SGrid2;
        int grid = &g == &w.SGrid1 ? 1 : 2;
        int row = RowWithReference(g);
        if (row > 0) {
            window.ClickCell(grid, row, 5, false);
            port.onDialog = [out](QDialog& d) {
                Shoot(QDir(out).filePath(QStringLiteral("detail.png")));
                d.reject();
            };
            window.ClickToolbar(2, 25);
        }
        port.onDialog = [out](QDialog& d) {
            Shoot(QDir(out).filePath(QStringLiteral("config.png")));
            d.reject();
        };
        window.ClickToolbar(1, 12);
        // The report of every customer account on screen.
        port.onDialog = [out](QDialog& d) {
            if (auto* form = qobject_cast<ParameterForm*>(&d)) {
                if (auto* from = qobject_cast<QLineEdit*>(form->input(0)))
                    from->setText(QStringLiteral("4300000000"));
                if (auto* to = qobject_cast<QLineEdit*>(form->input(1)))
                    to->setText(QStringLiteral("4309999999"));
                Shoot(QDir(out).filePath(QStringLiteral("report-dialog.png")));
                d.accept();
                return;
            }
            d.resize(d.screen()->availableGeometry().size() * 9 / 10);
            Shoot(QDir(out).filePath(QStringLiteral("preview.png")));
            d.reject();
        };
        window.ClickToolbar(1, 25);
        port.onDialog = nullptr;
        window.close();
        QCoreApplication::exit(0);
    });
}

}  // namespace pendara
