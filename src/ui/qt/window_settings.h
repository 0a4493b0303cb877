#pragma once
// The window's place on the screen and the grids' column widths, kept between runs in the
// registry section "Ventana" (values "Geometria" = "x,y,ancho,alto", "Maximizada", and
// "Columnas1", "Columnas2" = the width of each column of a grid, hidden ones 0).

#include <QList>
#include <QRect>
#include <array>
#include <optional>

namespace pendara {

inline constexpr const char* kWindowSection = "Ventana";

struct WindowPlacement {
    QRect geometry;
    bool maximised = false;
    std::array<QList<int>, 2> columnWidths;
};

// What was stored; nullopt when no geometry was.
std::optional<WindowPlacement> LoadWindowPlacement();
// Stores it; a registry that cannot be written loses the placement and nothing else.
void StoreWindowPlacement(const WindowPlacement& placement);

// A stored geometry moved and cut to lie on the screen's available area, no smaller than the
// minimum size.
QRect FitOnScreen(const QRect& stored, const QRect& available, const QSize& minimum);

}  // namespace pendara
