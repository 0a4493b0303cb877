#pragma once
// PENDARA_SCREENSHOT=DIR: after start the window walks through its main views and photographs
// the whole screen into DIR (main.png, detail.png, config.png, report.png), then closes. The
// screenshot script runs it under a virtual display.

namespace pendara {

class MainWindow;
class QtPort;

void StartScreenshotTour(MainWindow& window, QtPort& port, const char* dir);

}  // namespace pendara
