#include "host/gauge.h"

#include <cfenv>
#include <cmath>
#include <string>

namespace pendara {

int Gauge::Percent(std::int32_t value, std::int32_t maximum) {
    double ratio = 100.0 / (static_cast<double>(maximum) / static_cast<double>(value));
    double p = std::nearbyint(ratio);  // the default rounding mode rounds halves to even
    if (p > 100) p = 100;
    if (p < 0) p = 0;
    return static_cast<int>(p);
}

void Gauge::Update(std::int32_t value, std::optional<std::int32_t> maximum) {
    if (!surface_) return;
    GaugeSurface& s = *surface_;
    if (value == -1) {
        s.SetAutoRedraw(true);
        s.Cls();
        s.Refresh();
        s.SetForeColor(kGaugeTextColour);
        return;
    }
    if (value == 0) {
        s.Cls();
        return;
    }
    if (!maximum || *maximum == 0) return;
    int p = Percent(value, *maximum);
    s.SetForeColor(p >= 49 ? kGaugeTextOnBar : kGaugeTextColour);
    s.Cls();
    s.FillBox(0, 0, s.ScaleWidth() / 100.0 * p, s.ScaleHeight(), kGaugeBarColour);
    std::string text = std::to_string(p) + "%";
    // Integer division as the window toolkit does it: operands rounded first, then divided.
    auto x = static_cast<long long>(std::nearbyint(s.ScaleWidth() - s.TextWidth(text))) / 2;
    auto y = static_cast<long long>(std::nearbyint(s.ScaleHeight() - s.TextHeight(text))) / 2;
    s.PrintText(static_cast<double>(x), static_cast<double>(y), text);
    s.Refresh();
}

Progress GaugeProgress(Gauge& gauge) {
    return [&gauge, shown = -2](std::int32_t value, std::int32_t maximum) mutable {
        if (value == -1 || maximum <= 0) {
            gauge.Update(value);
            shown = -2;
            return;
        }
        int p = Gauge::Percent(value, maximum);
        if (p == shown) return;
        shown = p;
        gauge.Update(value, maximum);
    };
}

}  // namespace pendara
