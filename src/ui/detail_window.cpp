#include "ui/detail_window.h"

#include <cmath>

#include "host/conversions.h"
#include "host/utf8.h"
#include "ui/group_handlers.h"
#include "ui/pndra.h"

namespace pendara {

namespace {

const std::string kEmpty;

std::vector<std::string> Split(const std::string& s, const std::string& sep) {
    std::vector<std::string> out;
    std::size_t start = 0;
    while (true) {
        std::size_t at = s.find(sep, start);
        if (at == std::string::npos) {
            out.push_back(s.substr(start));
            return out;
        }
        out.push_back(s.substr(start, at - start));
        start = at + sep.size();
    }
}

const std::string& Field(const std::vector<std::string>& fields, std::size_t i) {
    return i < fields.size() ? fields[i] : kEmpty;
}

}  // namespace

double HeaderTextWidth(const std::string& header) {
    // An average character of the grid's font plus the cell margins.
    return 120.0 + 100.0 * static_cast<double>(Utf8Length(header));
}

DetailWindow::DetailWindow() {
    Label2[0].setCaption("Referencia:");
    Label2[2].setCaption("Sumas del Debe por Ref.");
    Label2[3].setCaption("Sumas del Haber por Ref.");
    Label2[4].setCaption("Saldo");
    Toolbar1.SetButtons("80,20", "Anterior,Siguiente");
    configuraflex();
}

const std::string& DetailWindow::Cell(int row, int col) const {
    if (row < 0 || row >= kRows || col < 0 || col >= kCols) return kEmpty;
    return cells_[static_cast<std::size_t>(row * kCols + col)];
}

void DetailWindow::SetCell(int row, int col, std::string text) {
    // The grid has no room beyond its 199 data rows; such entries are not shown.
    if (row < 0 || row >= kRows || col < 0 || col >= kCols) return;
    cells_[static_cast<std::size_t>(row * kCols + col)] = std::move(text);
}

void DetailWindow::configuraflex() {
    cells_.assign(static_cast<std::size_t>(kRows * kCols), std::string());
    std::vector<std::string> heads = Split(kFormat, "|");
    for (int c = 0; c < kCols; ++c) {
        std::string h = Field(heads, static_cast<std::size_t>(c));
        Align a = Align::Left;
        if (!h.empty() && (h[0] == '^' || h[0] == '<' || h[0] == '>')) {
            a = h[0] == '^' ? Align::Centre : h[0] == '<' ? Align::Left : Align::Right;
            h.erase(0, 1);
        }
        align_[static_cast<std::size_t>(c)] = a;
        width_[static_cast<std::size_t>(c)] = HeaderTextWidth(h);
        SetCell(0, c, h);
    }
    auto w = [this](int c) -> double& { return width_[static_cast<std::size_t>(c)]; };
    w(1) = w(6) = 800;
    w(2) = w(7) = 900;
    w(3) = w(8) = 800;
    w(4) = w(9) = 1000;
    // nearbyint rounds halves to even in the default rounding mode.
    double rest =
        std::nearbyint(kGridWidth - (w(1) + w(2) + w(4) + w(5) + w(6) + w(7) + w(9) + w(0)) - 500);
    w(3) = w(8) = std::nearbyint(rest / 2);
    Changed();
}

void DetailWindow::Limpiar() {
    for (Label& s : Sumas)
        s.setCaption("");
    Text1.setText("");
    configuraflex();
}

void DetailWindow::PresentaDatos(const std::string& detailText) {
    if (detailText.empty()) return;
    std::vector<std::string> lines = Split(detailText, "\r\n");
    int debitRow = 1;
    int creditRow = 1;
    double debit = 0;
    double credit = 0;
    std::string reference;
    // The piece after the last CR LF is not an entry.
    for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
        std::vector<std::string> f = Split(lines[i], "\t");
        bool isDebit = LeadingNumber(Field(f, 0)) == 1;
        int row = isDebit ? debitRow++ : creditRow++;
        int first = isDebit ? 1 : 6;
        SetCell(row, first, Trim(Field(f, 2)));
        SetCell(row, first + 1, Trim(Field(f, 3)));
        SetCell(row, first + 2, Trim(Field(f, 4)));
        double amount = ToDouble(Field(f, 6));
        SetCell(row, first + 3, FormatAmountPlain(amount));
        (isDebit ? debit : credit) += amount;
        reference = Trim(Field(f, 5));
    }
    Sumas[0].setCaption(FormatAmountPlain(debit));
    Sumas[1].setCaption(FormatAmountPlain(credit));
    Sumas[2].setCaption(FormatAmountPlain(debit + credit));
    if (lines.size() > 1) Text1.setText(reference);
    Changed();
}

void DetailWindow::Toolbar1_Click(Pndra& w, int key) {
    Limpiar();
    if (key == 20) {
        ++w.SelectedRow;
    } else if (key == 80) {
        if (w.SelectedRow > 1) --w.SelectedRow;
    }
    CollectReferenceRows(w);
    PresentaDatos(w.detailText.ToString());
}

}  // namespace pendara
