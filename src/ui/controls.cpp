#include "ui/controls.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace pendara {

namespace {
const std::string kEmpty;

std::vector<std::string> SplitList(const std::string& s) {
    std::vector<std::string> out;
    std::size_t start = 0;
    while (true) {
        std::size_t comma = s.find(',', start);
        out.push_back(
            s.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    return out;
}
}  // namespace

const std::string& ListBox::List(int i) const {
    if (i < 0 || i >= ListCount()) return kEmpty;
    return items_[static_cast<std::size_t>(i)].text;
}

std::int32_t ListBox::ItemData(int i) const {
    if (i < 0 || i >= ListCount())
        throw std::out_of_range("ListBox::ItemData: índice fuera de la lista");
    return items_[static_cast<std::size_t>(i)].data;
}

void ListBox::SetItemData(int i, std::int32_t data) {
    if (i < 0 || i >= ListCount())
        throw std::out_of_range("ListBox::SetItemData: índice fuera de la lista");
    items_[static_cast<std::size_t>(i)].data = data;
    Changed();
}

int ListBox::AddItem(std::string text) {
    items_.push_back({std::move(text), 0});
    newIndex_ = ListCount() - 1;
    Changed();
    return newIndex_;
}

void ListBox::RemoveItem(int i) {
    if (i < 0 || i >= ListCount())
        throw std::out_of_range("ListBox::RemoveItem: índice fuera de la lista");
    items_.erase(items_.begin() + i);
    if (listIndex_ == i)
        listIndex_ = -1;
    else if (listIndex_ > i)
        --listIndex_;
    Changed();
}

void ListBox::Clear() {
    items_.clear();
    listIndex_ = -1;
    newIndex_ = -1;
    Changed();
}

void ListBox::SetListIndex(int i) {
    if (i < -1 || i >= ListCount())
        throw std::out_of_range("ListBox::SetListIndex: índice fuera de la lista");
    listIndex_ = i;
    Changed();
    if (i >= 0 && onClick) onClick();
}

void ListBox::SelectWithoutClick(int i) {
    if (i < -1 || i >= ListCount())
        throw std::out_of_range("ListBox::SelectWithoutClick: índice fuera de la lista");
    if (i == listIndex_) return;
    listIndex_ = i;
    Changed();
}

Grid::Grid() : rows_(1) {
    headers.assign(static_cast<std::size_t>(GridCol::kCount + 1), "");
    widthChars.assign(static_cast<std::size_t>(GridCol::kCount + 1), 8);
    numeric.assign(static_cast<std::size_t>(GridCol::kCount + 1), false);
}

void Grid::SetRows(int n) {
    if (n < 1) n = 1;
    if (n == Rows()) return;
    rows_.resize(static_cast<std::size_t>(n));
    Changed();
}

void Grid::Clear() {
    rows_.assign(1, GridRow{});
    // The current cell stays where the user clicked: the detail window reads it after a reload.
    Changed();
}

std::string Grid::Cell(int row, int col) const {
    if (row < 1 || row > Rows() || col < 1 || col > Cols()) return std::string();
    return CellText(rows_[static_cast<std::size_t>(row - 1)], col);
}

void Grid::SetCell(int row, int col, std::string text) {
    if (row < 0 || row > Rows() || col < 0 || col > Cols())
        throw std::out_of_range("Grid::SetCell: celda fuera de la rejilla");
    // Row 0 and column 0 are the headers, which hold no entry.
    if (row == 0 || col == 0) return;
    SetCellText(rows_[static_cast<std::size_t>(row - 1)], col, std::move(text));
    Changed();
}

GridRow& Grid::row(int r) {
    if (r < 1 || r > Rows()) throw std::out_of_range("Grid::row: fila fuera de la rejilla");
    return rows_[static_cast<std::size_t>(r - 1)];
}

void Grid::SetRowsFrom(std::vector<GridRow> rows) {
    rows_ = std::move(rows);
    if (rows_.empty()) rows_.emplace_back();
    Changed();
}

void Grid::SetRedraw(bool on) {
    if (on == redraw_) return;
    redraw_ = on;
    Changed();
}

void Toolbar::SetButtons(const std::string& imageList, const std::string& toolTipList) {
    imageList_ = imageList;
    toolTipList_ = toolTipList;
    buttons_.clear();
    std::vector<std::string> images = SplitList(imageList);
    std::vector<std::string> tips = SplitList(toolTipList);
    for (std::size_t i = 0; i < images.size(); ++i)
        buttons_.push_back({std::atoi(images[i].c_str()), i < tips.size() ? tips[i] : ""});
    Changed();
}

}  // namespace pendara
