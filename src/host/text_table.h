#pragma once
// A two-dimensional table of texts, indexed (row, column) from 0, as the program's extract,
// side tables and grid row tables are.

#include <cstddef>
#include <string>
#include <vector>

namespace pendara {

class TextTable {
  public:
    TextTable() = default;
    TextTable(std::size_t rows, std::size_t cols) : rows_(rows), cols_(cols), cells_(rows * cols) {}

    std::size_t rows() const noexcept { return rows_; }
    std::size_t cols() const noexcept { return cols_; }
    // Highest row index, as the upper bound of the first dimension (-1 for an empty table).
    long upperRow() const noexcept { return static_cast<long>(rows_) - 1; }
    long upperCol() const noexcept { return static_cast<long>(cols_) - 1; }
    bool empty() const noexcept { return rows_ == 0; }

    std::string& at(std::size_t r, std::size_t c) { return cells_[r * cols_ + c]; }
    const std::string& at(std::size_t r, std::size_t c) const { return cells_[r * cols_ + c]; }
    std::string& operator()(std::size_t r, std::size_t c) { return at(r, c); }
    const std::string& operator()(std::size_t r, std::size_t c) const { return at(r, c); }

    // Changes the size keeping every cell that still fits.
    void resize(std::size_t rows, std::size_t cols) {
        if (cols == cols_) {
            cells_.resize(rows * cols);
            rows_ = rows;
            return;
        }
        std::vector<std::string> cells(rows * cols);
        for (std::size_t r = 0; r < rows && r < rows_; ++r)
            for (std::size_t c = 0; c < cols && c < cols_; ++c)
                cells[r * cols + c] = std::move(cells_[r * cols_ + c]);
        cells_ = std::move(cells);
        rows_ = rows;
        cols_ = cols;
    }

    bool operator==(const TextTable&) const = default;

  private:
    std::size_t rows_ = 0;
    std::size_t cols_ = 0;
    std::vector<std::string> cells_;
};

}  // namespace pendara
