#pragma once
// Shared pieces of the Qt shell's tests: a window over a fresh state with its settings in a
// temporary folder.

#include <gtest/gtest.h>
#include <QApplication>
#include <QTest>
#include <memory>
#include <ostream>

#include "support/temp_dir.h"
#include "ui/pndra.h"
#include "ui/qt/qt_main_window.h"
#include "ui/qt/qt_port.h"

// Readable failures of QString comparisons.
inline void PrintTo(const QString& s, std::ostream* os) {
    *os << '"' << s.toStdString() << '"';
}

namespace pendara::testing {

struct WindowFixture {
    TempDir home;
    std::unique_ptr<QtPort> port;
    std::unique_ptr<Pndra> w;
    std::unique_ptr<MainWindow> window;

    WindowFixture() {
        setenv("QUORVEX_HOME", home.path().c_str(), 1);
        ResetSettingsBackends();
        port = std::make_unique<QtPort>();
        w = std::make_unique<Pndra>(*port);
        window = std::make_unique<MainWindow>(*w, *port);
    }
    // The window shown at a working size.
    MainWindow& Shown(int width = 1300, int height = 800) {
        window->resize(width, height);
        window->show();
        return *window;
    }
    ~WindowFixture() {
        window.reset();
        w.reset();
        port.reset();
        ResetSettingsBackends();
    }
};

// The window as the program starts it, over the active company of the settings kept in `home`:
// loaded and shown.
class StartedWindow : public ::testing::Test {
  protected:
    void UseHome() {
        setenv("QUORVEX_HOME", (home.path() / "home").c_str(), 1);
        ResetSettingsBackends();
    }
    void Start(const std::string& commandLine = "") {
        port = std::make_unique<QtPort>();
        w = std::make_unique<Pndra>(*port);
        w->CommandLine = commandLine;
        window = std::make_unique<MainWindow>(*w, *port);
        ASSERT_TRUE(window->Load());
        window->show();
        window->resize(1300, 820);
        QApplication::processEvents();
    }
    void TearDown() override {
        if (port) port->onDialog = nullptr;
        window.reset();
        w.reset();
        port.reset();
        ResetSettingsBackends();
    }

    TempDir home;
    std::unique_ptr<QtPort> port;
    std::unique_ptr<Pndra> w;
    std::unique_ptr<MainWindow> window;
};

// Fills a grid with n rows as the matching run leaves them.
inline void FillGrid(Grid& g, int n, const std::string& refEvery3 = "RF-") {
    g.SetRedraw(false);
    g.SetRows(n);
    for (int r = 1; r <= n; ++r) {
        g.SetCell(r, 1, std::to_string(1000 + r));
        g.SetCell(r, 2, "15/03/24");
        g.SetCell(r, 3, std::to_string(r));
        g.SetCell(r, 4, "Fra. " + std::to_string(r));
        g.SetCell(r, 5, r % 3 == 0 ? refEvery3 + std::to_string(r / 3) : "");
        g.SetCell(r, 6, "1.234,56");
        g.SetCell(r, 7, "1");
        g.SetCell(r, 8, "0");
    }
    g.SetRedraw(true);
}

}  // namespace pendara::testing
