#pragma once
// The report and the balance review on the window.

namespace pendara {

class Pndra;

// The "Informe" command: the dialog, the report over the accounts of the chosen range, and the
// host's report output.
void Informe_Click(Pndra& w);

// "Forzar Punteo cuando saldo sea 0" on the selected account of the list: the grid rows up to each
// date on which its balance returns to zero take one reference, then the grids are saved.
void revisarsaldos_Click(Pndra& w);

}  // namespace pendara
