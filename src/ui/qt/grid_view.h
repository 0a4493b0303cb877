#pragma once
// How the window shows an extract grid: a view over a sorting and filtering proxy of the grid's
// model. Sorting and filtering are the view's alone: the grid's rows, the order ExportRows gives
// and every handler's row numbers stay as the logic left them. Also the totals under a grid and
// its visible rows as text, CSV or a spreadsheet.

#include <QListView>
#include <QSortFilterProxyModel>
#include <QString>
#include <QTableView>
#include <string>

#include "ui/controls.h"
#include "ui/qt/grid_filter.h"

namespace pendara {

// Grid columns the view works with.
inline constexpr int kColDate = 2;
inline constexpr int kColEntry = 3;
inline constexpr int kColDescription = 4;
inline constexpr int kColReference = 5;
inline constexpr int kColAmount = 6;
inline constexpr int kColCompany = 7;

class GridProxy : public QSortFilterProxyModel {
    Q_OBJECT
  public:
    GridProxy(Grid& grid, QObject* parent = nullptr);

    void SetFilterText(const QString& text);
    const QString& filterText() const { return filterText_; }
    // The grid row (1..) shown at a view row, and the view row of a grid row (-1 when hidden).
    int GridRow(int viewRow) const;
    int ViewRow(int gridRow) const;

  protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

  private:
    Grid& grid_;
    GridFilter filter_;
    QString filterText_;
};

// What the totals under a grid add up, in cents.
struct GridTotals {
    int openCount = 0;  // rows with an entry and without a system reference
    long long openCents = 0;
    int shownCount = 0;  // rows with an entry that the filter lets through
    long long shownCents = 0;
};
GridTotals ComputeTotals(const Grid& grid, const GridProxy& proxy);
// "Pendiente: 3 apuntes, 1.234,56" and, while a filter is on, what it shows.
QString TotalsText(const GridTotals& t, bool filtered);

// The columns the copy and the exports carry, with their titles.
struct ExportColumn {
    int col;
    const char* title;
};
inline constexpr ExportColumn kExportColumns[] = {{kColDate, "Fecha"},
                                                  {kColEntry, "Asiento"},
                                                  {kColDescription, "Descripción"},
                                                  {kColReference, "Referencia"},
                                                  {kColAmount, "Importe"}};

// The visible rows in the order shown, a title line first, fields separated by TAB, lines
// ended by CR LF; amounts trimmed.
QString VisibleRowsText(const Grid& grid, const GridProxy& proxy);
// Writes the visible rows to a file: ".xlsx" gives a spreadsheet, anything else CSV (";"
// separated, decimal comma). Throws std::runtime_error naming the file when it cannot.
void ExportVisibleRows(const Grid& grid, const GridProxy& proxy, const std::string& title,
                       const std::string& path);
// How many visible rows carry an entry.
int VisibleEntries(const Grid& grid, const GridProxy& proxy);

// The extract grid's view: the keyboard's moves, Space and the copy key are its own signals, so
// that the window runs the cell event for them (a click does that through clicked()).
class GridView : public QTableView {
    Q_OBJECT
  public:
    using QTableView::QTableView;

  signals:
    void movedByKeyboard(const QModelIndex& current);
    void spacePressed(const QModelIndex& current);
    void copyRequested();

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;

  private:
    bool keyboard_ = false;
};

// The account list: the keyboard moves the selection (a signal of its own), Enter asks to load.
class AccountListView : public QListView {
    Q_OBJECT
  public:
    using QListView::QListView;

  signals:
    void movedByKeyboard(const QModelIndex& current);
    void loadRequested(const QModelIndex& current);

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;

  private:
    bool keyboard_ = false;
};

}  // namespace pendara
