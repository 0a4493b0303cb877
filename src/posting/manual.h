#pragma once
// Grouping entries by hand: a new reference, undoing the current one, loading the active account
// and recalling the last account worked on.

namespace pendara {

class Pndra;

// Draws the next reference into newref and shows its sums.
void CreaRef_Click(Pndra& w);
// Removes the current reference from every grid row that carries it (nothing is written).
void DeshacerRef_Click(Pndra& w);
// Remembers the account box as the last account, loads and matches it, draws a new reference.
void Punteo_Click(Pndra& w);
// Shows the last account in the Ultima label.
void SetUltima(Pndra& w);
// Puts the last account into the account box and clears the grids (it is not loaded).
void Ultima_Click(Pndra& w);

}  // namespace pendara
