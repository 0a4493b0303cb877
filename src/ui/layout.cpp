#include "ui/layout.h"

#include <cmath>

namespace pendara {

namespace {

struct Design {
    Ctl ctl;
    const char* name;
    Ctl parent;
    TwipRect place;
};

constexpr Ctl kWindow = Ctl::Count;

// Places the window's own design gives are kept as given; the children of the frames whose
// places it leaves open are arranged to fit inside their frames.
constexpr std::array<Design, kControlCount> kDesign{{
    {Ctl::Background, "Background", kWindow, {120, 120, 5655, 1575}},
    {Ctl::Label10, "Label10", kWindow, {120, 1800, 1575, 255}},
    {Ctl::Text1, "Text1", kWindow, {120, 2040, 1095, 285}},
    {Ctl::Toolbar1, "Toolbar1", kWindow, {1800, 1920, 3975, 465}},
    {Ctl::List2, "List2", kWindow, {120, 2400, 5655, 6750}},
    {Ctl::Frame4, "Frame4", kWindow, {5880, 120, 4515, 1275}},
    {Ctl::Label2_2, "Label2(2)", Ctl::Frame4, {120, 300, 2300, 255}},
    {Ctl::Label2_3, "Label2(3)", Ctl::Frame4, {120, 600, 2300, 255}},
    {Ctl::Label2_4, "Label2(4)", Ctl::Frame4, {120, 900, 2300, 255}},
    {Ctl::Sumas0, "Sumas(0)", Ctl::Frame4, {2460, 300, 1935, 255}},
    {Ctl::Sumas1, "Sumas(1)", Ctl::Frame4, {2460, 600, 1935, 255}},
    {Ctl::Sumas2, "Sumas(2)", Ctl::Frame4, {2460, 900, 1935, 255}},
    {Ctl::Frame7, "Frame7", kWindow, {10440, 120, 4335, 1275}},
    {Ctl::Option1_1, "Option1(1)", Ctl::Frame7, {120, 360, 4095, 315}},
    {Ctl::Option1_0, "Option1(0)", Ctl::Frame7, {120, 780, 4095, 315}},
    {Ctl::Frame3, "Frame3", kWindow, {14880, 120, 3735, 1275}},
    {Ctl::Command1, "Command1", Ctl::Frame3, {120, 240, 3495, 555}},
    {Ctl::Label3, "Label3", Ctl::Frame3, {120, 900, 2415, 255}},
    {Ctl::DesFac, "DesFac", Ctl::Frame3, {2520, 870, 1095, 315}},
    {Ctl::Frame5, "Frame5", kWindow, {5880, 1440, 12795, 675}},
    {Ctl::TituloL, "TituloL", Ctl::Frame5, {120, 240, 5295, 315}},
    {Ctl::SaldoCta, "SaldoCta", Ctl::Frame5, {6000, 240, 2715, 315}},
    {Ctl::Image1_0, "Image1(0)", Ctl::Frame5, {10055, 195, 420, 420}},
    {Ctl::Image1_1, "Image1(1)", Ctl::Frame5, {10055, 195, 420, 420}},
    {Ctl::Toolbar2, "Toolbar2", Ctl::Frame5, {10675, 180, 1920, 465}},
    {Ctl::Frame1, "Frame1", kWindow, {5940, 2100, 12735, 3135}},
    {Ctl::SGrid1, "SGrid1", Ctl::Frame1, {100, 300, 12535, 2735}},
    {Ctl::Frame2, "Frame2", kWindow, {5880, 5280, 12735, 3855}},
    {Ctl::SGrid2, "SGrid2", Ctl::Frame2, {100, 300, 12535, 3455}},
    {Ctl::Picture1, "Picture1", kWindow, {120, 9240, 18495, 255}},
}};

// One assignment of a resize rule; a negative size is refused and the rule is skipped.
void SetSize(double& field, double value) {
    if (value < 0 || !std::isfinite(value)) return;
    field = value;
}
void SetPos(double& field, double value) {
    if (!std::isfinite(value)) return;
    field = value;
}

}  // namespace

Ctl ParentOf(Ctl c) {
    return kDesign[static_cast<std::size_t>(c)].parent;
}

const char* ControlName(Ctl c) {
    if (c == Ctl::Count) return "";
    return kDesign[static_cast<std::size_t>(c)].name;
}

LayoutTable DesignLayout() {
    LayoutTable t;
    for (const Design& d : kDesign)
        t[d.ctl] = d.place;
    return t;
}

void FormResize(LayoutTable& l, double clientWidth, double clientHeight) {
    TwipRect& f1 = l[Ctl::Frame1];
    TwipRect& f2 = l[Ctl::Frame2];
    TwipRect& f5 = l[Ctl::Frame5];
    TwipRect& list = l[Ctl::List2];
    TwipRect& pic = l[Ctl::Picture1];
    TwipRect& tb2 = l[Ctl::Toolbar2];

    SetSize(f1.height, (clientHeight - f1.top) / 2 - 230);
    SetPos(f2.top, f1.top + f1.height + 100);
    SetSize(f2.height, f1.height);
    SetSize(f1.width, clientWidth - 200 - list.width);
    SetSize(f2.width, clientWidth - 200 - list.width);
    SetSize(f5.width, clientWidth - 300 - list.width);
    SetSize(l[Ctl::SGrid1].width, f1.width - 200);
    SetSize(l[Ctl::SGrid2].width, f2.width - 200);
    SetSize(l[Ctl::SGrid1].height, f1.height - 400);
    SetSize(l[Ctl::SGrid2].height, f2.height - 400);
    SetPos(pic.top, clientHeight - pic.height);
    SetSize(pic.width, clientWidth - 200);
    SetSize(list.height, pic.top - list.top);
    SetPos(tb2.left, f5.width - tb2.width - 200);
    SetPos(l[Ctl::Image1_0].left, tb2.left - l[Ctl::Image1_0].width - 200);
    SetPos(l[Ctl::Image1_1].left, l[Ctl::Image1_0].left);
}

int TwipsToPixels(double twips, double dpi) {
    return static_cast<int>(std::lround(twips * dpi / 1440.0));
}

double PixelsToTwips(int pixels, double dpi) {
    return static_cast<double>(pixels) * 1440.0 / dpi;
}

}  // namespace pendara
