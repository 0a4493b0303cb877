// pendara [ACCOUNT]: the desktop window. The whole command line after the program name is the
// account to load, match and save unattended.

#include <QApplication>
#include <QFont>
#include <QSessionManager>
#include <clocale>
#include <cstdlib>
#include <string>

#include "host/open_files.h"
#include "host/settings.h"
#include "ui/pndra.h"
#include "ui/qt/qt_main_window.h"
#include "ui/qt/qt_port.h"
#include "ui/qt/screenshot_tour.h"
#include "ui/qt/translations.h"

int main(int argc, char** argv) {
    using namespace pendara;
    RaiseOpenFileLimit();
    QApplication app(argc, argv);
    // The toolkit set the C library to the user's locale. The program's own conversions do
    // not depend on it, but the libraries under the data side may print numbers with printf.
    std::setlocale(LC_NUMERIC, "C");
    QApplication::setApplicationName(QStringLiteral("Pendara"));
    QApplication::setFont(QFont(QStringLiteral("DejaVu Sans"), 8));
    InstallSpanishTranslations(app);

    std::string commandLine;
    for (int i = 1; i < argc; ++i) {
        if (i > 1) commandLine += ' ';
        commandLine += argv[i];
    }

    QtPort port;
    Pndra w(port);
    w.CommandLine = commandLine;

    // The help page lives where the run script says when the registry names no folder.
    if (const char* help = std::getenv("PENDARA_HELP_DIR"))
        if (GetRegValue("Directory").text().empty()) SetRegValue(port, "Directory", help);

    MainWindow window(w, port);
    QObject::connect(&app, &QGuiApplication::commitDataRequest, &window,
                     [&window, &port](QSessionManager&) {
                         // The session ends: nothing more runs, nothing is saved. A run in
                         // progress has its writes inside transactions.
                         if (port.depth > 0) std::_Exit(0);
                         window.EndSession();
                     });
    if (!window.Load()) return window.exitCode();
    if (window.startMaximised())
        window.showMaximized();
    else
        window.show();
    if (const char* tour = std::getenv("PENDARA_SCREENSHOT"))
        StartScreenshotTour(window, port, tour);
    int code = app.exec();
    return code != 0 ? code : window.exitCode();
}
