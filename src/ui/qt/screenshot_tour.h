#pragma once
// PENDARA_SCREENSHOT=DIR: after start the window fills the screen, walks through its views and
// photographs the whole screen into DIR, then closes. On a screen narrower than 1200 pixels it
// takes main-WIDTH.png, detail.png, config.png, report-dialog.png and preview.png; on a wider
// one main-WIDTH.png only. With PENDARA_HELP_ICONS=DIR it also draws each toolbar button into
// DIR/KEY.png for the help page. The screenshot script runs it under a virtual display.

namespace pendara {

class MainWindow;
class QtPort;

void StartScreenshotTour(MainWindow& window, QtPort& port, const char* dir);

}  // namespace pendara
