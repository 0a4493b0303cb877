#pragma once
// The account list (List2) on the window: filled from the mask in Text1, alternating between the
// pending list and the full list; the account look-up and stepping through the list.

#include <cstdint>

namespace pendara {

class Pndra;

// Fills List2, alternating between the pending list and the full list; mode is true when the
// full list was built.
void Carga_cuentas(Pndra& w, bool& mode);

// Key handler of the mask box: Enter clears the grids and fills the list.
void Text1_KeyPress(Pndra& w, std::int32_t& key);

// The host's account look-up; a chosen account goes into the account box.
void BuscaCta_Click(Pndra& w);
// Selects the next / previous entry of the list (which loads it).
void BuscaSig_Click(Pndra& w);
void Buscaanterior(Pndra& w);

}  // namespace pendara
