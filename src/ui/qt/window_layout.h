#pragma once
// Where the window's controls go at a given client size. The specified resize rules (FormResize)
// come first; then the places that must change so that every control shows whole on a small
// screen and nothing covers anything:
//   - the status bar takes its height off the bottom before the rules run;
//   - when the three top frames do not fit beside the list, the maintenance frame (Frame3)
//     moves to the top of the left-hand column, where the background picture was, and the list
//     narrows (no further than that frame or the main toolbar) so that the other two fit;
//     everything to its right moves left with it, and the main toolbar goes beside the mask box
//     when there is room, or onto a row of its own under it;
//   - the top frames shrink towards their narrowest when the window is narrower than their
//     design, their contents following their width;
//   - the status frame and both grid frames share the list's right edge on the left and the
//     window margin on the right (the rules let the grid frames run past the window's edge);
//   - the balance label keeps room for the widest balance, left of the status pictures;
//   - each grid gives up a row under it for its filter and totals.
// All values are twips.

#include "ui/layout.h"

namespace pendara {

// What the window's contents need, measured with the window's fonts.
struct FitMeasures {
    double toolbar1Width = 3975;  // the main toolbar's buttons and separators
    double listMin = 3300;        // narrowest account list
    double frame4Min = 3600;      // narrowest sums frame
    double frame7Min = 3600;      // narrowest options frame
    double frame3Min = 3400;      // narrowest maintenance frame
    double sumsWidth = 1500;      // a sum label that shows the widest amount
    double balanceWidth = 2715;   // the balance label with the widest balance
    double footerHeight = 330;    // filter and totals row under a grid
    double statusHeight = 330;    // status bar along the bottom edge
};

// The rectangles the design table has no place for.
struct FitExtras {
    TwipRect footer1;  // inside Frame1, under SGrid1
    TwipRect footer2;  // inside Frame2, under SGrid2
    TwipRect status;   // along the window's bottom edge
    bool toolbarBelow = false;
    bool frame3Left = false;  // the maintenance frame in the background picture's place
};

FitExtras FitLayout(LayoutTable& layout, double clientWidth, double clientHeight,
                    const FitMeasures& m);

// The smallest client area at which FitLayout shows every control whole and each grid a few
// rows: {width, height}.
TwipRect MinimumClient(const FitMeasures& m);

}  // namespace pendara
