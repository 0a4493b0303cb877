#pragma once
// The reference detail window "Detalle de Referencias" without its toolkit: the grid fx1 (a
// header row and 199 data rows, ten columns), the reference box, the three sums, and the
// operations that fill them from the shared detail text. The Qt dialog draws this object.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "ui/controls.h"

namespace pendara {

class Pndra;

class DetailWindow : public Observable {
  public:
    enum class Align { Left, Centre, Right };

    static constexpr const char* kCaption = "Detalle de Referencias";
    static constexpr const char* kFormat =
        "^N|^Fecha|^Asiento|<Descripcion|>importe||^Fecha|^Asiento|<Descripcion|>importe";
    static constexpr int kRows = 200;  // including the header row
    static constexpr int kCols = 10;
    // fx1's design width in twips.
    static constexpr double kGridWidth = 12735;

    DetailWindow();

    // Clears fx1 and applies the format string and the column widths.
    void configuraflex();
    // Empties the sums and the reference box, then configuraflex.
    void Limpiar();
    // Fills fx1, the sums and the reference box from a detail text (one CR LF line per entry).
    void PresentaDatos(const std::string& detailText);
    // The window's toolbar: 20 "Siguiente", 80 "Anterior"; shows the reference of the next or
    // previous row of the grid the user clicked in the main window.
    void Toolbar1_Click(Pndra& w, int key);

    const std::string& Cell(int row, int col) const;
    Align ColAlignment(int col) const { return align_[static_cast<std::size_t>(col)]; }
    // Column widths in twips.
    double ColWidth(int col) const { return width_[static_cast<std::size_t>(col)]; }

    TextBox Text1;                // the reference shown
    std::array<Label, 5> Label2;  // (0) "Referencia:", (2) (3) (4) captions of the sums
    std::array<Label, 3> Sumas;   // debit total, credit total, their sum
    Toolbar Toolbar1;

  private:
    void SetCell(int row, int col, std::string text);

    std::vector<std::string> cells_;
    std::array<Align, kCols> align_{};
    std::array<double, kCols> width_{};
};

// The width a column takes from its header text when the format string is applied.
double HeaderTextWidth(const std::string& header);

}  // namespace pendara
