#include "ui/qt/grid_view.h"

#include <QKeyEvent>
#include <stdexcept>

#include "host/conversions.h"
#include "host/report_output.h"
#include "matching/references.h"
#include "ui/qt/qt_text.h"

namespace pendara {

namespace {

// An amount with its sign, in cents.
std::optional<long long> SignedCents(const std::string& text) {
    const QString t = Q(text).trimmed();
    std::optional<long long> c = GridFilter::Cents(t);
    if (c && t.startsWith(QLatin1Char('-'))) return -*c;
    return c;
}

bool IsEntry(const Grid& grid, int row) {
    return !grid.Cell(row, kColCompany).empty();
}

GridRowTexts RowTexts(const Grid& grid, int row) {
    return {Q(grid.Cell(row, kColDate)), Q(grid.Cell(row, kColEntry)),
            Q(grid.Cell(row, kColDescription)), Q(grid.Cell(row, kColReference)),
            Q(grid.Cell(row, kColAmount))};
}

// Spanish thousands grouping of a count.
QString Count(long long n) {
    QString digits = QString::number(n < 0 ? -n : n);
    for (qsizetype i = digits.size() - 3; i > 0; i -= 3)
        digits.insert(i, QLatin1Char('.'));
    return n < 0 ? QLatin1Char('-') + digits : digits;
}

QString Entries(long long n) {
    return Count(n) + (n == 1 ? QStringLiteral(" apunte") : QStringLiteral(" apuntes"));
}

QString CentsText(long long cents) {
    return Q(FormatAmountPlain(static_cast<double>(cents) / 100.0));
}

std::string Field(const Grid& grid, int row, int col) {
    std::string t = Trim(grid.Cell(row, col));
    for (char& c : t)
        if (c == '\t' || c == '\r' || c == '\n') c = ' ';
    return t;
}

// TAB after a field, CR LF after the last.
QLatin1String Separator(const ExportColumn& c) {
    return QLatin1String(c.col == kColAmount ? "\r\n" : "\t");
}

}  // namespace

GridProxy::GridProxy(Grid& grid, QObject* parent) : QSortFilterProxyModel(parent), grid_(grid) {}

void GridProxy::SetFilterText(const QString& text) {
    if (text == filterText_) return;
    filterText_ = text;
    filter_ = GridFilter(text);
    invalidateFilter();
}

int GridProxy::GridRow(int viewRow) const {
    QModelIndex source = mapToSource(index(viewRow, 0));
    return source.isValid() ? source.row() + 1 : 0;
}

int GridProxy::ViewRow(int gridRow) const {
    if (!sourceModel()) return -1;
    QModelIndex shown = mapFromSource(sourceModel()->index(gridRow - 1, 0));
    return shown.isValid() ? shown.row() : -1;
}

bool GridProxy::filterAcceptsRow(int sourceRow, const QModelIndex&) const {
    if (filter_.empty()) return true;
    const int row = sourceRow + 1;
    return IsEntry(grid_, row) && filter_.Matches(RowTexts(grid_, row));
}

bool GridProxy::lessThan(const QModelIndex& left, const QModelIndex& right) const {
    const int a = left.row() + 1;
    const int b = right.row() + 1;
    const int col = left.column();
    // Equal keys keep the grid's order.
    auto byKey = [a, b](const auto& ka, const auto& kb) { return ka != kb ? ka < kb : a < b; };
    switch (col) {
        case kColDate:
            return byKey(GridFilter::Day(Q(grid_.Cell(a, col))).value_or(0),
                         GridFilter::Day(Q(grid_.Cell(b, col))).value_or(0));
        case kColEntry:
        case kColAmount:
            return byKey(SignedCents(grid_.Cell(a, col)).value_or(0),
                         SignedCents(grid_.Cell(b, col)).value_or(0));
        case kColDescription:
        case kColReference: {
            const int c = Q(grid_.Cell(a, col))
                              .trimmed()
                              .compare(Q(grid_.Cell(b, col)).trimmed(), Qt::CaseInsensitive);
            return c != 0 ? c < 0 : a < b;
        }
        default:
            return a < b;
    }
}

GridTotals ComputeTotals(const Grid& grid, const GridProxy& proxy) {
    GridTotals t;
    const bool filtered = !proxy.filterText().trimmed().isEmpty();
    for (int r = 1; r <= grid.Rows(); ++r) {
        if (!IsEntry(grid, r)) continue;
        const long long cents = SignedCents(grid.Cell(r, kColAmount)).value_or(0);
        if (!IsSystemReference(grid.Cell(r, kColReference))) {
            ++t.openCount;
            t.openCents += cents;
        }
        if (!filtered || proxy.ViewRow(r) >= 0) {
            ++t.shownCount;
            t.shownCents += cents;
        }
    }
    return t;
}

QString TotalsText(const GridTotals& t, bool filtered) {
    QString text =
        QStringLiteral("Pendiente: %1, %2").arg(Entries(t.openCount), CentsText(t.openCents));
    if (filtered)
        text += QStringLiteral("   ·   Filtro: %1, %2")
                    .arg(Entries(t.shownCount), CentsText(t.shownCents));
    return text;
}

int VisibleEntries(const Grid& grid, const GridProxy& proxy) {
    int n = 0;
    for (int v = 0; v < proxy.rowCount(); ++v)
        if (IsEntry(grid, proxy.GridRow(v))) ++n;
    return n;
}

QString VisibleRowsText(const Grid& grid, const GridProxy& proxy) {
    QString text;
    for (const ExportColumn& c : kExportColumns)
        text += QString::fromUtf8(c.title) + Separator(c);
    for (int v = 0; v < proxy.rowCount(); ++v) {
        const int r = proxy.GridRow(v);
        if (!IsEntry(grid, r)) continue;
        for (const ExportColumn& c : kExportColumns)
            text += Q(Field(grid, r, c.col)) + Separator(c);
    }
    return text;
}

void ExportVisibleRows(const Grid& grid, const GridProxy& proxy, const std::string& title,
                       const std::string& path) {
    ReportRequest request;
    request.title = title;
    request.columns = "Fecha,Asiento,Descripción,Referencia,Importe";
    request.alignments = "5,0,0,0,3";
    for (int v = 0; v < proxy.rowCount(); ++v) {
        const int r = proxy.GridRow(v);
        if (!IsEntry(grid, r)) continue;
        for (const ExportColumn& c : kExportColumns)
            request.text += Field(grid, r, c.col) + (c.col == kColAmount ? "\r\n" : "\t");
    }
    if (EndsWithNoCase(path, ".xlsx"))
        WriteReportXlsx(request, path);
    else
        WriteReportCsv(request, path);
}

void GridView::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Copy)) {
        emit copyRequested();
        event->accept();
        return;
    }
    if (event->key() == Qt::Key_Space && event->modifiers() == Qt::NoModifier) {
        if (currentIndex().isValid()) emit spacePressed(currentIndex());
        event->accept();
        return;
    }
    keyboard_ = true;
    QTableView::keyPressEvent(event);
    keyboard_ = false;
}

void GridView::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QTableView::currentChanged(current, previous);
    if (keyboard_ && current.isValid()) emit movedByKeyboard(current);
}

void AccountListView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        if (currentIndex().isValid()) emit loadRequested(currentIndex());
        event->accept();
        return;
    }
    keyboard_ = true;
    QListView::keyPressEvent(event);
    keyboard_ = false;
}

void AccountListView::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QListView::currentChanged(current, previous);
    if (keyboard_ && current.isValid()) emit movedByKeyboard(current);
}

}  // namespace pendara
