#pragma once
// The group-wide commands and the reference detail on the window.

namespace pendara {

class Pndra;

// Key 78: after the user confirms, empties the references and marks of the selected account in
// every company and reloads it. Without a selected account nothing happens.
void ClearSelectedAccount(Pndra& w);

// Key 17: after the user confirms, the group save with the toolbar holding only the stop button;
// the normal buttons come back however the run ends.
void GroupSaveRun(Pndra& w);

// The rows of the reference in the last clicked cell (column 5 only); shows the detail window
// when there are any, and empties the detail text afterwards.
void PresentaDetalle(Pndra& w);

// The rows of the reference in row SelectedRow of the selected grid (the detail window's
// stepping); leaves them in the detail text.
void CollectReferenceRows(Pndra& w);

}  // namespace pendara
