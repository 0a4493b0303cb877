#pragma once
// Collecting the grid rows of one reference into the shared detail text, for the detail window.

namespace pendara {

class Pndra;

// The rows of the reference in the last clicked cell (column 5 only); shows the detail window
// when there are any, and empties the detail text afterwards.
void PresentaDetalle(Pndra& w);

// The rows of the reference in row SelectedRow of the selected grid (the detail window's
// stepping); leaves them in the detail text.
void CollectReferenceRows(Pndra& w);

}  // namespace pendara
