#include "ui/qt/window_layout.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace pendara {

namespace {

constexpr double kMargin = 120;         // window edge to the list, and on the right
constexpr double kListGap = 105;        // list to the right-hand column
constexpr double kDesignList = 5655;    // the list's design width
constexpr double kGap47 = 45;           // Frame4 to Frame7
constexpr double kGap73 = 105;          // Frame7 to Frame3
constexpr double kTopRowSlack = 150;    // kept free at the right of the top row
constexpr double kGridFrameMin = 2600;  // a grid frame that shows its header and a few rows
constexpr double kTitleMin = 1500;      // the account title's narrowest

double Clamp0(double v) {
    return std::max(0.0, v);
}

// The sums keep room for the widest amount; their captions give way first.
void FitFrame4(LayoutTable& l, double sumsWidth) {
    const double w = l[Ctl::Frame4].width;
    const TwipRect design = DesignLayout()[Ctl::Sumas0];
    for (Ctl sum : {Ctl::Sumas0, Ctl::Sumas1, Ctl::Sumas2}) {
        TwipRect& s = l[sum];
        s.width = std::min(design.width, std::max(sumsWidth, w - kMargin - design.left));
        s.left = w - kMargin - s.width;
    }
    const double labelWidth = std::min(2300.0, Clamp0(l[Ctl::Sumas0].left - 40 - kMargin));
    for (Ctl label : {Ctl::Label2_2, Ctl::Label2_3, Ctl::Label2_4})
        l[label].width = labelWidth;
}

void FitFrame7(LayoutTable& l) {
    const double w = l[Ctl::Frame7].width;
    for (Ctl option : {Ctl::Option1_1, Ctl::Option1_0})
        l[option].width = Clamp0(w - 2 * kMargin);
}

void FitFrame3(LayoutTable& l) {
    const double w = l[Ctl::Frame3].width;
    TwipRect& desFac = l[Ctl::DesFac];
    l[Ctl::Command1].width = Clamp0(w - 2 * kMargin);
    desFac.left = w - kMargin - desFac.width;
    l[Ctl::Label3].width = std::min(2415.0, Clamp0(desFac.left - kMargin));
}

}  // namespace

FitExtras FitLayout(LayoutTable& l, double clientWidth, double clientHeight, const FitMeasures& m) {
    FitExtras extras;
    l = DesignLayout();
    const double height = clientHeight - m.statusHeight;
    FormResize(l, clientWidth, height);

    // The top row keeps its three frames while they fit beside the list at its design width;
    // otherwise the maintenance frame goes to the top of the left-hand column, in the place of
    // the background picture, and the list gives up width down to what that column holds.
    const double listFloor = std::max(m.listMin, m.toolbar1Width);
    const double twoFrames = m.frame4Min + kGap47 + m.frame7Min + kTopRowSlack;
    const double threeFrames = twoFrames + kGap73 + m.frame3Min;
    const double beside = clientWidth - 2 * kMargin - kListGap;
    extras.frame3Left = beside - kDesignList < threeFrames;
    const double listWidth =
        extras.frame3Left
            ? std::min(kDesignList, std::max({listFloor, m.frame3Min, beside - twoFrames}))
            : kDesignList;
    const bool narrowed = listWidth < kDesignList;
    l[Ctl::List2].width = listWidth;
    l[Ctl::Background].width = listWidth;
    const double rightStart = kMargin + listWidth + kListGap;
    const double rightWidth = Clamp0(clientWidth - kMargin - rightStart);

    TwipRect& toolbar = l[Ctl::Toolbar1];
    if (narrowed || m.toolbar1Width > toolbar.width) {
        const TwipRect& text1 = l[Ctl::Text1];
        toolbar.width = m.toolbar1Width;
        toolbar.left = kMargin + listWidth - toolbar.width;
        if (toolbar.left < text1.left + text1.width + 60) {
            extras.toolbarBelow = true;
            toolbar.left = kMargin;
            toolbar.top = text1.top + text1.height + 60;
            l[Ctl::List2].top = toolbar.top + toolbar.height + 60;
        }
    }
    TwipRect& list = l[Ctl::List2];
    list.height = Clamp0(l[Ctl::Picture1].top - list.top);

    // The frames of the top row keep their design while it fits; otherwise each shrinks towards
    // its narrowest in proportion to what it can give.
    std::vector<std::pair<Ctl, double>> row{{Ctl::Frame4, m.frame4Min}, {Ctl::Frame7, m.frame7Min}};
    if (!extras.frame3Left) row.emplace_back(Ctl::Frame3, m.frame3Min);
    double designRow = 0;
    for (const auto& [f, least] : row)
        designRow += DesignLayout()[f].width;
    designRow += kGap47 + (row.size() == 3 ? kGap73 : 0);
    if (narrowed || rightWidth < designRow) {
        double give = 0;
        double minSum = 0;
        for (const auto& [f, least] : row) {
            give += Clamp0(DesignLayout()[f].width - least);
            minSum += least;
        }
        const double space = rightWidth - kTopRowSlack - kGap47 - (row.size() == 3 ? kGap73 : 0);
        const double t = give > 0 ? std::clamp((space - minSum) / give, 0.0, 1.0) : 0.0;
        double left = rightStart;
        const double gaps[] = {kGap47, kGap73, 0};
        for (std::size_t i = 0; i < row.size(); ++i) {
            TwipRect& f = l[row[i].first];
            f.width =
                row[i].second + Clamp0(DesignLayout()[row[i].first].width - row[i].second) * t;
            f.left = left;
            left += f.width + gaps[i];
        }
    }
    if (extras.frame3Left) {
        TwipRect& f3 = l[Ctl::Frame3];
        f3.left = kMargin;
        f3.width = listWidth;
    }
    FitFrame4(l, m.sumsWidth);
    FitFrame7(l);
    FitFrame3(l);

    // The status frame and the grid frames: from the right-hand column to the margin.
    for (Ctl f : {Ctl::Frame5, Ctl::Frame1, Ctl::Frame2}) {
        l[f].left = rightStart;
        l[f].width = rightWidth;
    }
    const std::pair<Ctl, Ctl> grids[] = {{Ctl::Frame1, Ctl::SGrid1}, {Ctl::Frame2, Ctl::SGrid2}};
    TwipRect* footers[] = {&extras.footer1, &extras.footer2};
    for (int i = 0; i < 2; ++i) {
        const TwipRect& frame = l[grids[i].first];
        TwipRect& grid = l[grids[i].second];
        grid.width = Clamp0(frame.width - 200);
        grid.height = Clamp0(frame.height - 400 - m.footerHeight);
        *footers[i] = {grid.left, grid.top + grid.height + 30, grid.width, m.footerHeight};
    }

    // Inside the status frame: toolbar and pictures as the rules place them, the balance left
    // of the pictures with room for the widest balance, the title in what is left.
    TwipRect& f5 = l[Ctl::Frame5];
    TwipRect& tb2 = l[Ctl::Toolbar2];
    TwipRect& image0 = l[Ctl::Image1_0];
    tb2.left = f5.width - tb2.width - 200;
    image0.left = tb2.left - image0.width - 200;
    l[Ctl::Image1_1].left = image0.left;
    TwipRect& balance = l[Ctl::SaldoCta];
    balance.width = std::max(balance.width, m.balanceWidth);
    balance.left = std::min(balance.left, image0.left - 200 - balance.width);
    TwipRect& title = l[Ctl::TituloL];
    title.width = std::min(title.width, Clamp0(balance.left - 2 * kMargin));

    extras.status = {0, height, clientWidth, m.statusHeight};
    return extras;
}

TwipRect MinimumClient(const FitMeasures& m) {
    const double list = std::max({m.listMin, m.toolbar1Width, m.frame3Min});
    const double topRow = m.frame4Min + kGap47 + m.frame7Min + kTopRowSlack;
    const TwipRect design = DesignLayout()[Ctl::Toolbar2];
    const double statusRow =
        kTitleMin + 2 * kMargin + m.balanceWidth + 200 + 420 + 200 + design.width + 200;
    const double width = 2 * kMargin + list + kListGap + std::max(topRow, statusRow);
    // Frame1's height is (height - its top) / 2 - 230 by the rules.
    const double top = DesignLayout()[Ctl::Frame1].top;
    const double height = top + 2 * (kGridFrameMin + 230) + m.statusHeight;
    return {0, 0, width, height};
}

}  // namespace pendara
