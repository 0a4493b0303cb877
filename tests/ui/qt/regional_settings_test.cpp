// The window under the Spanish regional settings of its users writes the same data as the command
// line, which never switches the C library's locale.

#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QProcess>
#include <QProcessEnvironment>
#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <string>
#include <vector>

#include "host/settings.h"
#include "support/spanish_locale.h"
#include "support/temp_dir.h"
#include "ui/pndra.h"
#include "ui/qt/qt_main_window.h"
#include "ui/qt/qt_port.h"

namespace pendara {
namespace {

constexpr const char* kAccount = "4300000001";

struct Output {
    int code = -1;
    std::string out;
};

// A tool run as from a shell with its own settings folder, under the Spanish settings.
Output Tool(const QString& program, const QStringList& args, const std::string& home) {
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QUORVEX_HOME"), QString::fromStdString(home));
    env.insert(QStringLiteral("LANG"), QString::fromLatin1(testing::kSpanishLocale));
    env.insert(QStringLiteral("LC_ALL"), QString::fromLatin1(testing::kSpanishLocale));
    p.setProcessEnvironment(env);
    p.start(program, args);
    p.waitForFinished(600000);
    Output o;
    o.code = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    o.out = p.readAllStandardOutput().toStdString();
    return o;
}

QString Qvdata() {
    return QStringLiteral(QVDATA_EXE);
}

// The entries of every company of a demo chain (oldest first) as qvdata exports them.
std::vector<std::string> Exports(const std::string& folder, const std::string& home) {
    std::vector<std::string> out;
    const QStringList files = QDir(QString::fromStdString(folder))
                                  .entryList({QStringLiteral("*.QVT")}, QDir::Files, QDir::Name);
    for (const QString& f : files) {
        Output o = Tool(Qvdata(),
                        {QStringLiteral("export-entries"),
                         QString::fromStdString(folder) + QStringLiteral("/") + f},
                        home);
        EXPECT_EQ(o.code, 0) << f.toStdString();
        out.push_back(f.toStdString() + "\n" + o.out);
    }
    return out;
}

// "" when both texts are equal, else their first different line (whole exports are too long to
// print).
std::string FirstDifference(const std::string& a, const std::string& b) {
    std::size_t line = 1, start = 0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
        if (a[i] != b[i]) {
            auto lineOf = [start](const std::string& s) {
                return s.substr(start, s.find('\n', start) - start);
            };
            return "line " + std::to_string(line) + ":\n  " + lineOf(a) + "\n  " + lineOf(b);
        }
        if (a[i] == '\n') {
            ++line;
            start = i + 1;
        }
    }
    return a.size() == b.size() ? "" : "one text is longer (line " + std::to_string(line) + ")";
}

// A demo group whose newest year is the active company of `home`.
void MakeDemo(const std::string& folder, const std::string& home, int seed) {
    Output o =
        Tool(Qvdata(),
             {QStringLiteral("demo"), QString::fromStdString(folder), QStringLiteral("--no-key"),
              QStringLiteral("--seed"), QString::number(seed), QStringLiteral("--accounts"),
              QStringLiteral("8"), QStringLiteral("--entries-per-year"), QStringLiteral("800")},
             home);
    ASSERT_EQ(o.code, 0);
}

// The window started with an account on its command line: the first activation loads, matches
// and saves it; then the user closes the window.
void RunWindow(const std::string& home) {
    setenv("QUORVEX_HOME", home.c_str(), 1);
    ResetSettingsBackends();
    {
        QtPort port;
        Pndra w(port);
        w.CommandLine = kAccount;
        MainWindow window(w, port);
        ASSERT_TRUE(window.Load());
        window.show();
        for (int i = 0; i < 50 && !w.Activated; ++i)
            QApplication::processEvents();
        ASSERT_TRUE(w.Activated);
        window.close();
        QApplication::processEvents();
    }
    ResetSettingsBackends();
}

// The suite's second pass runs with LC_ALL naming the Spanish settings: the toolkit must have
// switched to them at start, as it does for the window, or that pass would prove nothing.
TEST(SpanishRegionalSettings, TheToolkitTookTheSettingsTheEnvironmentNames) {
    const char* wanted = std::getenv("LC_ALL");
    if (!wanted || !*wanted) GTEST_SKIP() << "LC_ALL names no settings";
    EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), wanted);
}

TEST(SpanishRegionalSettings, TheWindowStartedWithAnAccountWritesWhatTheCommandLineWrites) {
    for (int seed : {1, 2, 3}) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        testing::TempDir dir;
        const std::string windowData = dir.file("window"), windowHome = dir.file("window-home");
        const std::string cliData = dir.file("cli"), cliHome = dir.file("cli-home");
        MakeDemo(windowData, windowHome, seed);
        MakeDemo(cliData, cliHome, seed);
        const std::vector<std::string> before = Exports(windowData, windowHome);
        ASSERT_EQ(before.size(), 3u);
        const std::vector<std::string> copy = Exports(cliData, cliHome);
        ASSERT_EQ(copy.size(), before.size());
        for (std::size_t i = 0; i < copy.size(); ++i)  // two copies of the same data
            ASSERT_EQ(FirstDifference(copy[i], before[i]), "");

        {
            testing::SpanishLocale spanish;
            ASSERT_TRUE(spanish.active())
                << testing::kSpanishLocale << " is missing here: scripts/setup.sh generates it";
            RunWindow(windowHome);
        }
        ASSERT_EQ(Tool(QStringLiteral(PENDARA_CLI_EXE),
                       {QStringLiteral("run"), QString::fromLatin1(kAccount)}, cliHome)
                      .code,
                  0);

        const std::vector<std::string> window = Exports(windowData, windowHome);
        EXPECT_NE(window, before);  // the run wrote references and marks
        const std::vector<std::string> commandLine = Exports(cliData, cliHome);
        ASSERT_EQ(window.size(), commandLine.size());
        for (std::size_t i = 0; i < window.size(); ++i)
            EXPECT_EQ(FirstDifference(window[i], commandLine[i]), "");
    }
}

}  // namespace
}  // namespace pendara
