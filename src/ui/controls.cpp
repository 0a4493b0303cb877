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

Grid::Grid(int cols) : cols_(cols), cells_(static_cast<std::size_t>(2) * (cols + 1)) {
    headers.assign(static_cast<std::size_t>(cols + 1), "");
    widthChars.assign(static_cast<std::size_t>(cols + 1), 8);
    numeric.assign(static_cast<std::size_t>(cols + 1), false);
}

void Grid::SetRows(int n) {
    if (n < 1) n = 1;
    if (n == rows_) return;
    cells_.resize(static_cast<std::size_t>(n + 1) * (cols_ + 1));
    rows_ = n;
    Changed();
}

void Grid::Clear() {
    cells_.assign(static_cast<std::size_t>(2) * (cols_ + 1), std::string());
    rows_ = 1;
    // The current cell stays where the user clicked: the detail window reads it after a reload.
    Changed();
}

const std::string& Grid::Cell(int row, int col) const {
    if (row < 0 || row > rows_ || col < 0 || col > cols_) return kEmpty;
    return cells_[static_cast<std::size_t>(row) * (cols_ + 1) + col];
}

void Grid::SetCell(int row, int col, std::string text) {
    if (row < 0 || row > rows_ || col < 0 || col > cols_)
        throw std::out_of_range("Grid::SetCell: celda fuera de la rejilla");
    At(row, col) = std::move(text);
    Changed();
}

TextTable Grid::ExportRows() const {
    TextTable t(static_cast<std::size_t>(rows_ + 1), static_cast<std::size_t>(cols_ + 1));
    for (int r = 1; r <= rows_; ++r)
        for (int c = 1; c <= cols_; ++c)
            t.at(static_cast<std::size_t>(r), static_cast<std::size_t>(c)) =
                cells_[static_cast<std::size_t>(r) * (cols_ + 1) + c];
    return t;
}

void Grid::ImportRows(const TextTable& table) {
    long ub = table.upperRow();
    int n = ub < 1 ? 1 : static_cast<int>(ub);
    cells_.assign(static_cast<std::size_t>(n + 1) * (cols_ + 1), std::string());
    rows_ = n;
    int lastCol = static_cast<int>(std::min<long>(table.upperCol(), cols_));
    for (int r = 1; r <= static_cast<int>(ub); ++r)
        for (int c = 1; c <= lastCol; ++c)
            At(r, c) = table.at(static_cast<std::size_t>(r), static_cast<std::size_t>(c));
    Changed();
}

void Grid::LoadText(const std::string& text) {
    int row = 1;
    std::size_t pos = 0;
    while (pos < text.size()) {
        std::size_t end = text.find("\r\n", pos);
        std::size_t lineEnd = end == std::string::npos ? text.size() : end;
        if (row > rows_) {
            cells_.resize(static_cast<std::size_t>(row + 1) * (cols_ + 1));
            rows_ = row;
        }
        int col = 1;
        std::size_t f = pos;
        while (col <= cols_) {
            std::size_t tab = text.find('\t', f);
            if (tab == std::string::npos || tab > lineEnd) tab = lineEnd;
            At(row, col) = text.substr(f, tab - f);
            ++col;
            if (tab >= lineEnd) break;
            f = tab + 1;
        }
        for (; col <= cols_; ++col)
            At(row, col).clear();
        ++row;
        if (end == std::string::npos) break;
        pos = end + 2;
    }
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
