#pragma once
// Table models over the core's grids: the views ask for what they show, so a grid of tens of
// thousands of rows costs nothing until it is scrolled to. A model learns of changes through
// Sync(), which compares the grid's version counter with the one last shown.

#include <QAbstractListModel>
#include <QAbstractTableModel>
#include <cstdint>

#include "ui/controls.h"
#include "ui/detail_window.h"

namespace pendara {

// An extract grid: model column 0 is the grid's header column (row numbers), columns 1..8 the
// grid's columns; model row r is grid row r + 1.
class GridModel : public QAbstractTableModel {
    Q_OBJECT
  public:
    explicit GridModel(Grid& grid, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation o, int role) const override;

    // Brings the views up to date; false when nothing had changed.
    bool Sync();
    Grid& grid() { return grid_; }

  private:
    Grid& grid_;
    std::uint64_t shownVersion_ = 0;
    int shownRows_ = 0;
};

// The account list.
class ListModel : public QAbstractListModel {
    Q_OBJECT
  public:
    explicit ListModel(ListBox& list, QObject* parent = nullptr);
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool Sync();

  private:
    ListBox& list_;
    std::uint64_t shownVersion_ = 0;
};

// The detail window's grid fx1: row 0 is the header row, shown as the view's header.
class DetailModel : public QAbstractTableModel {
    Q_OBJECT
  public:
    explicit DetailModel(DetailWindow& window, QObject* parent = nullptr);
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation o, int role) const override;
    bool Sync();

  private:
    DetailWindow& window_;
    std::uint64_t shownVersion_ = 0;
};

}  // namespace pendara
