#pragma once
// Where the main window's controls sit, in twips (1/1440 inch), and how they move when the
// window is resized. Children of a frame are placed relative to the frame's outer corner. Kept
// free of any toolkit so that the rules run in unit tests.

#include <array>
#include <cstddef>

namespace pendara {

struct TwipRect {
    double left = 0;
    double top = 0;
    double width = 0;
    double height = 0;
    bool operator==(const TwipRect&) const = default;
};

// The controls that are shown and placed.
enum class Ctl : std::size_t {
    Background,  // the picture in the window's upper left corner
    Label10,
    Text1,
    Toolbar1,
    List2,
    Frame4,
    Label2_2,
    Label2_3,
    Label2_4,
    Sumas0,
    Sumas1,
    Sumas2,
    Frame7,
    Option1_1,
    Option1_0,
    Frame3,
    Command1,
    Label3,
    DesFac,
    Frame5,
    TituloL,
    SaldoCta,
    Image1_0,
    Image1_1,
    Toolbar2,
    Frame1,
    SGrid1,
    Frame2,
    SGrid2,
    Picture1,
    Count
};

inline constexpr std::size_t kControlCount = static_cast<std::size_t>(Ctl::Count);

class LayoutTable {
  public:
    TwipRect& operator[](Ctl c) { return rects_[static_cast<std::size_t>(c)]; }
    const TwipRect& operator[](Ctl c) const { return rects_[static_cast<std::size_t>(c)]; }
    bool operator==(const LayoutTable&) const = default;

  private:
    std::array<TwipRect, kControlCount> rects_{};
};

// The frame that holds a control, or Ctl::Count when it sits on the window itself.
Ctl ParentOf(Ctl c);
// The control's name as the window knows it ("Image1(0)", "SGrid1", ...).
const char* ControlName(Ctl c);

// The design places.
LayoutTable DesignLayout();

// The resize rules, applied in order to the client area's width and height (twips). An
// assignment that would give a negative width or height is refused, as the toolkit refuses it,
// and the next one goes on: a tiny or minimised window never fails.
void FormResize(LayoutTable& layout, double clientWidth, double clientHeight);

// Twips to device pixels at the given resolution (dots per inch), rounded to nearest.
int TwipsToPixels(double twips, double dpi);
double PixelsToTwips(int pixels, double dpi);

}  // namespace pendara
