#pragma once
// A gauge surface that keeps what was drawn, for the headless front end and the tests.

#include <string>
#include <vector>

#include "host/desktop_port.h"
#include "host/utf8.h"

namespace pendara {

class RecordingGauge : public GaugeSurface {
  public:
    RecordingGauge(double width = 18495, double height = 255) : width_(width), height_(height) {}

    void SetAutoRedraw(bool on) override { autoRedraw = on; }
    void Cls() override {
        barWidth = 0;
        text.clear();
        ++clears;
    }
    void Refresh() override { ++refreshes; }
    void SetForeColor(std::uint32_t bgr) override { foreColor = bgr; }
    double ScaleWidth() const override { return width_; }
    double ScaleHeight() const override { return height_; }
    double TextWidth(const std::string& t) const override {
        return 100.0 * static_cast<double>(Utf8Length(t));
    }
    double TextHeight(const std::string&) const override { return 195; }
    void FillBox(double, double, double x2, double, std::uint32_t bgr) override {
        barWidth = x2;
        barColour = bgr;
    }
    void PrintText(double x, double y, const std::string& t) override {
        text = t;
        textX = x;
        textY = y;
        textColour = foreColor;
        history.push_back(t);
    }

    bool autoRedraw = false;
    double barWidth = 0;
    std::uint32_t barColour = 0;
    std::uint32_t foreColor = 0;
    std::uint32_t textColour = 0;
    std::string text;  // the percentage shown, "" when clear
    double textX = 0, textY = 0;
    int clears = 0;
    int refreshes = 0;
    std::vector<std::string> history;

  private:
    double width_;
    double height_;
};

}  // namespace pendara
