#include "ui/pndra.h"

#include "host/conversions.h"

namespace pendara {

Pndra::Pndra(DesktopPort& p) : port(p), session(p) {
    DesFac.setText(" Fra");
    Frame1.setCaption("Partidas pendientes del debe");
    Frame2.setCaption("Partidas pendientes del haber");
    Frame3.setCaption("Opciones para punteo automático");
    Frame4.setCaption("Sumas por referencia:");
    Frame5.setCaption("Estado de la cuenta activa");
    Frame7.setCaption("Opciones de presentación y punteo");
    Ultima.setCaption("Ultima cuenta punteada (hacer click para selecionar)");
    Image1[1].toolTip = "Doble clic para grabar punteo en contabilidad";
    Option1[1].setValue(true);
    Toolbar1.SetButtons(kToolbar1Images, kToolbar1Tips);
    Toolbar2.SetButtons(kToolbar2Images, kToolbar2Tips);
    for (Grid* g : {&SGrid1, &SGrid2}) {
        g->headers = {"N", "N", "Fecha", "Asto", "Descripción", "Ref.", "Importe", "", ""};
        g->widthChars = {3, 0, 8, 6, 35, 16, 12, 0, 1};
        g->numeric = {false, false, false, false, false, false, true, false, false};
    }
    SGrid2.headers[1] = "R";
    gauge.SetSurface(&port.Gauge());
}

Pndra::~Pndra() = default;

std::string Pndra::SelectedCompanyFile() const {
    int i = List1.ListIndex();
    if (i < 0) return "";
    std::int32_t k = List1.ItemData(i);
    if (k < 0 || k >= static_cast<std::int32_t>(session.ConsultedFiles.size())) return "";
    return session.ConsultedFiles[static_cast<std::size_t>(k)];
}

LoadedAccount Pndra::Grids() const {
    return {Trim(CTA.text()), EntryFiles, CompanyFiles, SGrid1.rows(), SGrid2.rows()};
}

}  // namespace pendara
