// The Qt shell's tests run on the offscreen platform unless a display is asked for.

#include <gtest/gtest.h>

#include <QApplication>
#include <cstdlib>

int main(int argc, char** argv) {
    if (!std::getenv("QT_QPA_PLATFORM")) setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("PENDARA_TESTING", "1", 1);
    QApplication app(argc, argv);
    // Each test closes its own window; that must not end the event loops of the next.
    QApplication::setQuitOnLastWindowClosed(false);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
