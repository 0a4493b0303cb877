#include "ui/qt/grid_model.h"

#include <QBrush>
#include <QColor>

#include "ui/qt/qt_text.h"

namespace pendara {

namespace {
Qt::Alignment ToQt(DetailWindow::Align a) {
    switch (a) {
        case DetailWindow::Align::Centre:
            return Qt::AlignCenter;
        case DetailWindow::Align::Right:
            return Qt::AlignRight | Qt::AlignVCenter;
        default:
            return Qt::AlignLeft | Qt::AlignVCenter;
    }
}
const QColor kFixedCell(0xE4, 0xE4, 0xE4);
}  // namespace

GridModel::GridModel(Grid& grid, QObject* parent)
    : QAbstractTableModel(parent),
      grid_(grid),
      shownVersion_(grid.version()),
      shownRows_(grid.Rows()) {}

int GridModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : shownRows_;
}

int GridModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : grid_.Cols() + 1;
}

QVariant GridModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    int row = index.row() + 1;
    int col = index.column();
    switch (role) {
        case Qt::DisplayRole:
            if (col == 0) return row;
            return Q(grid_.Cell(row, col));
        case Qt::TextAlignmentRole: {
            auto c = static_cast<std::size_t>(col);
            bool numeric = c < grid_.numeric.size() && grid_.numeric[c];
            return QVariant::fromValue(numeric || col == 0 ? Qt::AlignRight | Qt::AlignVCenter
                                                           : Qt::AlignLeft | Qt::AlignVCenter);
        }
        case Qt::BackgroundRole:
            if (col == 0) return QBrush(kFixedCell);
            return {};
        case Qt::ToolTipRole: {
            // The whole text of a cell the column may cut.
            const std::string& text = grid_.Cell(row, col);
            if (col == 0 || text.empty()) return {};
            return Q(text).trimmed();
        }
        default:
            return {};
    }
}

QVariant GridModel::headerData(int section, Qt::Orientation o, int role) const {
    if (role != Qt::DisplayRole) return {};
    if (o == Qt::Vertical) return section + 1;
    auto c = static_cast<std::size_t>(section);
    return c < grid_.headers.size() ? Q(grid_.headers[c]) : QString();
}

bool GridModel::Sync() {
    if (grid_.version() == shownVersion_ || !grid_.redraw()) return false;
    if (grid_.Rows() != shownRows_) {
        beginResetModel();
        shownRows_ = grid_.Rows();
        endResetModel();
    } else {
        emit dataChanged(index(0, 0), index(shownRows_ - 1, grid_.Cols()));
    }
    shownVersion_ = grid_.version();
    return true;
}

ListModel::ListModel(ListBox& list, QObject* parent)
    : QAbstractListModel(parent), list_(list), shownVersion_(list.version()) {}

int ListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : list_.ListCount();
}

QVariant ListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::ToolTipRole)) return {};
    return Q(list_.List(index.row()));
}

bool ListModel::Sync() {
    if (list_.version() == shownVersion_) return false;
    beginResetModel();
    shownVersion_ = list_.version();
    endResetModel();
    return true;
}

DetailModel::DetailModel(DetailWindow& window, QObject* parent)
    : QAbstractTableModel(parent), window_(window), shownVersion_(window.version()) {}

int DetailModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : DetailWindow::kRows - 1;
}

int DetailModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : DetailWindow::kCols;
}

QVariant DetailModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    switch (role) {
        case Qt::DisplayRole:
            return Q(window_.Cell(index.row() + 1, index.column()));
        case Qt::ToolTipRole: {
            const std::string& text = window_.Cell(index.row() + 1, index.column());
            if (text.empty()) return {};
            return Q(text);
        }
        case Qt::TextAlignmentRole:
            return QVariant::fromValue(ToQt(window_.ColAlignment(index.column())));
        case Qt::BackgroundRole:
            if (index.column() == 0) return QBrush(kFixedCell);
            return {};
        default:
            return {};
    }
}

QVariant DetailModel::headerData(int section, Qt::Orientation o, int role) const {
    if (o != Qt::Horizontal) return {};
    if (role == Qt::DisplayRole) return Q(window_.Cell(0, section));
    if (role == Qt::TextAlignmentRole)
        return QVariant::fromValue(ToQt(window_.ColAlignment(section)));
    return {};
}

bool DetailModel::Sync() {
    if (window_.version() == shownVersion_) return false;
    shownVersion_ = window_.version();
    emit dataChanged(index(0, 0), index(DetailWindow::kRows - 2, DetailWindow::kCols - 1));
    emit headerDataChanged(Qt::Horizontal, 0, DetailWindow::kCols - 1);
    return true;
}

}  // namespace pendara
