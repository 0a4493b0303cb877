#pragma once
// The "Configuración de Punteo" dialog: the two mark values and the forced balance review,
// kept in the host's option store.

namespace pendara {

class Pndra;

// Shows the dialog and, when the user accepts, stores Punteo0, Punteo1 and Punteo2.
void ConfigurarPunteo(Pndra& w);

}  // namespace pendara
