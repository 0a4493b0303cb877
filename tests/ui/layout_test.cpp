#include "ui/layout.h"

#include <gtest/gtest.h>

namespace pendara {
namespace {

TEST(Layout, DesignPlacesOfTheWindowsOwnControls) {
    LayoutTable l = DesignLayout();
    EXPECT_EQ(l[Ctl::Label10], (TwipRect{120, 1800, 1575, 255}));
    EXPECT_EQ(l[Ctl::Text1], (TwipRect{120, 2040, 1095, 285}));
    EXPECT_EQ(l[Ctl::Toolbar1], (TwipRect{1800, 1920, 3975, 465}));
    EXPECT_EQ(l[Ctl::List2], (TwipRect{120, 2400, 5655, 6750}));
    EXPECT_EQ(l[Ctl::Frame4], (TwipRect{5880, 120, 4515, 1275}));
    EXPECT_EQ(l[Ctl::Frame7], (TwipRect{10440, 120, 4335, 1275}));
    EXPECT_EQ(l[Ctl::Frame3], (TwipRect{14880, 120, 3735, 1275}));
    EXPECT_EQ(l[Ctl::Frame5], (TwipRect{5880, 1440, 12795, 675}));
    EXPECT_EQ(l[Ctl::TituloL], (TwipRect{120, 240, 5295, 315}));
    EXPECT_EQ(l[Ctl::SaldoCta], (TwipRect{6000, 240, 2715, 315}));
    EXPECT_EQ(l[Ctl::Frame1], (TwipRect{5940, 2100, 12735, 3135}));
    EXPECT_EQ(l[Ctl::Frame2], (TwipRect{5880, 5280, 12735, 3855}));
    EXPECT_EQ(l[Ctl::Picture1], (TwipRect{120, 9240, 18495, 255}));
    EXPECT_EQ(ParentOf(Ctl::SaldoCta), Ctl::Frame5);
    EXPECT_EQ(ParentOf(Ctl::SGrid2), Ctl::Frame2);
    EXPECT_EQ(ParentOf(Ctl::List2), Ctl::Count);
    EXPECT_STREQ(ControlName(Ctl::Image1_1), "Image1(1)");
}

TEST(Layout, ChildrenFitInsideTheirFrames) {
    LayoutTable l = DesignLayout();
    for (std::size_t i = 0; i < kControlCount; ++i) {
        Ctl c = static_cast<Ctl>(i);
        Ctl p = ParentOf(c);
        if (p == Ctl::Count) continue;
        EXPECT_LE(l[c].left + l[c].width, l[p].width) << ControlName(c);
        EXPECT_LE(l[c].top + l[c].height, l[p].height) << ControlName(c);
    }
}

TEST(Layout, ResizeRulesOnALargeWindow) {
    LayoutTable l = DesignLayout();
    FormResize(l, 21000, 12000);
    // Frame1: (12000 - 2100) / 2 - 230 = 4720.
    EXPECT_DOUBLE_EQ(l[Ctl::Frame1].height, 4720);
    EXPECT_DOUBLE_EQ(l[Ctl::Frame2].top, 2100 + 4720 + 100);
    EXPECT_DOUBLE_EQ(l[Ctl::Frame2].height, 4720);
    EXPECT_DOUBLE_EQ(l[Ctl::Frame1].width, 21000 - 200 - 5655);
    EXPECT_DOUBLE_EQ(l[Ctl::Frame2].width, 21000 - 200 - 5655);
    EXPECT_DOUBLE_EQ(l[Ctl::Frame5].width, 21000 - 300 - 5655);
    EXPECT_DOUBLE_EQ(l[Ctl::SGrid1].width, 21000 - 200 - 5655 - 200);
    EXPECT_DOUBLE_EQ(l[Ctl::SGrid2].height, 4720 - 400);
    EXPECT_DOUBLE_EQ(l[Ctl::Picture1].top, 12000 - 255);
    EXPECT_DOUBLE_EQ(l[Ctl::Picture1].width, 21000 - 200);
    EXPECT_DOUBLE_EQ(l[Ctl::List2].height, 12000 - 255 - 2400);
    double f5 = 21000 - 300 - 5655;
    double tb2 = f5 - l[Ctl::Toolbar2].width - 200;
    EXPECT_DOUBLE_EQ(l[Ctl::Toolbar2].left, tb2);
    EXPECT_DOUBLE_EQ(l[Ctl::Image1_0].left, tb2 - l[Ctl::Image1_0].width - 200);
    EXPECT_DOUBLE_EQ(l[Ctl::Image1_1].left, l[Ctl::Image1_0].left);
    // Nothing else moves.
    LayoutTable d = DesignLayout();
    for (Ctl c : {Ctl::Frame4, Ctl::Frame7, Ctl::Frame3, Ctl::Text1, Ctl::Label10, Ctl::Toolbar1})
        EXPECT_EQ(l[c], d[c]) << ControlName(c);
    EXPECT_EQ(l[Ctl::List2].top, d[Ctl::List2].top);
    EXPECT_EQ(l[Ctl::Frame1].left, d[Ctl::Frame1].left);
    EXPECT_EQ(l[Ctl::Frame2].left, d[Ctl::Frame2].left);
}

TEST(Layout, TinyWindowRefusesNegativeSizesAndGoesOn) {
    LayoutTable l = DesignLayout();
    FormResize(l, 100, 300);
    LayoutTable d = DesignLayout();
    // Frame1's height would be negative: kept; the rules that follow still run.
    EXPECT_EQ(l[Ctl::Frame1].height, d[Ctl::Frame1].height);
    EXPECT_DOUBLE_EQ(l[Ctl::Frame2].top, 2100 + 3135 + 100);
    EXPECT_EQ(l[Ctl::Frame1].width, d[Ctl::Frame1].width);
    EXPECT_DOUBLE_EQ(l[Ctl::Picture1].top, 300 - 255);  // a position may go anywhere
    EXPECT_EQ(l[Ctl::Picture1].width, d[Ctl::Picture1].width);
    EXPECT_EQ(l[Ctl::List2].height, d[Ctl::List2].height);
    EXPECT_DOUBLE_EQ(l[Ctl::Toolbar2].left, 12795 - l[Ctl::Toolbar2].width - 200);

    LayoutTable z = DesignLayout();
    FormResize(z, 0, 0);  // minimised
    EXPECT_EQ(z[Ctl::SGrid1].height, d[Ctl::SGrid1].height);
}

TEST(Layout, ZeroSizesAreAllowed) {
    LayoutTable l = DesignLayout();
    // Frame1 height exactly 400 gives grids of height 0.
    FormResize(l, 5655 + 200 + 200, 2100 + 2 * (400 + 230));
    EXPECT_DOUBLE_EQ(l[Ctl::Frame1].height, 400);
    EXPECT_DOUBLE_EQ(l[Ctl::SGrid1].height, 0);
    EXPECT_DOUBLE_EQ(l[Ctl::SGrid1].width, 0);
}

TEST(Layout, TwipsAndPixels) {
    EXPECT_EQ(TwipsToPixels(1440, 96), 96);
    EXPECT_EQ(TwipsToPixels(18495, 96), 1233);
    EXPECT_EQ(TwipsToPixels(255, 96), 17);
    EXPECT_EQ(TwipsToPixels(1440, 144), 144);
    EXPECT_DOUBLE_EQ(PixelsToTwips(96, 96), 1440);
}

}  // namespace
}  // namespace pendara
