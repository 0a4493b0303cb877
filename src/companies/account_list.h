#pragma once
// The account list (List2): the posting accounts of the active company whose code begins with
// the mask in Text1, every one or only those with something left to match; look-up and stepping.

#include <cstdint>
#include <string>

namespace pendara {

class Pndra;
class QvFileControl2;

// Fills List2, alternating between the pending list and the full list; mode is true when the
// full list was built.
void Carga_cuentas(Pndra& w, bool& mode);

// An account's rounded balance in one entries file, and whether one of its entries is neither
// referenced ("RF-" anywhere, any case) nor ticked.
void AccountStatus(QvFileControl2& entries, const std::string& account, double& balance,
                   bool& open);

// Key handler of the mask box: Enter clears the grids and fills the list.
void Text1_KeyPress(Pndra& w, std::int32_t& key);

// The host's account look-up; a chosen account goes into the account box.
void BuscaCta_Click(Pndra& w);
// Selects the next / previous entry of the list (which loads it).
void BuscaSig_Click(Pndra& w);
void Buscaanterior(Pndra& w);

}  // namespace pendara
