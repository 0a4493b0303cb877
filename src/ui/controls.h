#pragma once
// Plain objects for the window's controls. They hold what the logic reads and writes; a view
// learns what changed from each control's version counter (bumped on every change) and may also
// register a callback.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "model/columns.h"
#include "model/grid_row.h"

namespace pendara {

// Change tracking shared by every control.
class Observable {
  public:
    std::uint64_t version() const { return version_; }
    std::function<void()> onChange;

  protected:
    void Changed() {
        ++version_;
        if (onChange) onChange();
    }

  private:
    std::uint64_t version_ = 0;
};

class TextBox : public Observable {
  public:
    const std::string& text() const { return text_; }
    void setText(std::string t) {
        if (t == text_) return;
        text_ = std::move(t);
        Changed();
    }
    bool visible = true;

  private:
    std::string text_;
};

class Label : public Observable {
  public:
    const std::string& caption() const { return caption_; }
    void setCaption(std::string c) {
        if (c == caption_) return;
        caption_ = std::move(c);
        Changed();
    }
    std::uint32_t foreColor() const { return foreColor_; }
    void setForeColor(std::uint32_t bgr) {
        if (bgr == foreColor_) return;
        foreColor_ = bgr;
        Changed();
    }
    bool bold() const { return bold_; }
    void setBold(bool b) {
        if (b == bold_) return;
        bold_ = b;
        Changed();
    }
    bool visible = true;

  private:
    std::string caption_;
    std::uint32_t foreColor_ = 0;
    bool bold_ = false;
};

// A frame is a captioned container; only its caption changes at run time.
using Frame = Label;

class Picture : public Observable {
  public:
    bool visible() const { return visible_; }
    void setVisible(bool v) {
        if (v == visible_) return;
        visible_ = v;
        Changed();
    }
    std::string toolTip;

  private:
    bool visible_ = false;
};

class CheckBox : public Observable {
  public:
    int value() const { return value_; }  // 0 cleared, 1 ticked
    void setValue(int v) {
        if (v == value_) return;
        value_ = v;
        Changed();
    }

  private:
    int value_ = 0;
};

class OptionButton : public Observable {
  public:
    bool value() const { return value_; }
    void setValue(bool v) {
        if (v == value_) return;
        value_ = v;
        Changed();
    }

  private:
    bool value_ = false;
};

// A list box: entries with item data and one selection. Setting the selection fires onClick, as
// the program relies on (selecting an account loads it).
class ListBox : public Observable {
  public:
    struct Item {
        std::string text;
        std::int32_t data = 0;
    };

    int ListCount() const { return static_cast<int>(items_.size()); }
    const std::string& List(int i) const;
    std::int32_t ItemData(int i) const;
    void SetItemData(int i, std::int32_t data);
    // Appends an entry; returns its index (the list's NewIndex).
    int AddItem(std::string text);
    void RemoveItem(int i);
    void Clear();
    int ListIndex() const { return listIndex_; }
    // Selects entry i (-1: none); selecting an entry fires onClick.
    void SetListIndex(int i);
    // Moves the selection without firing onClick: the keyboard walking the list, or a run that
    // does what the click does by itself.
    void SelectWithoutClick(int i);
    int NewIndex() const { return newIndex_; }
    const std::vector<Item>& items() const { return items_; }

    std::function<void()> onClick;

  private:
    std::vector<Item> items_;
    int listIndex_ = -1;
    int newIndex_ = -1;
};

// An extract grid: rows 1..Rows() (never fewer than one) of the eight columns of GridCol, with a
// header row 0 and a header column 0. Cells outside the grid read as empty.
class Grid : public Observable {
  public:
    Grid();

    int Cols() const { return GridCol::kCount; }
    int Rows() const { return static_cast<int>(rows_.size()); }
    // Sets the row count (at least 1); new rows are empty, rows past the count are dropped.
    void SetRows(int n);
    // Removes every row, leaving one empty row.
    void Clear();

    // A cell's text, as the grid shows it.
    std::string Cell(int row, int col) const;
    void SetCell(int row, int col, std::string text);

    // The current cell, as a click or the program leaves it.
    int Row = 1;
    int Col = 1;
    std::string Text() const { return Cell(Row, Col); }
    void SetText(std::string text) { SetCell(Row, Col, std::move(text)); }

    // Every row, rows 1.. of the grid in order.
    const std::vector<GridRow>& rows() const { return rows_; }
    // Row r (1-based) for changing it in place; the caller reports the change with Touch().
    GridRow& row(int r);
    void Touch() { Changed(); }
    // Replaces every row; no rows leave one empty row.
    void SetRowsFrom(std::vector<GridRow> rows);

    // While redraw is off a view may skip painting.
    bool redraw() const { return redraw_; }
    void SetRedraw(bool on);

    // View description: header texts (index 0 = header column), widths in characters, numeric
    // columns.
    std::vector<std::string> headers;
    std::vector<int> widthChars;
    std::vector<bool> numeric;

  private:
    std::vector<GridRow> rows_;
    bool redraw_ = true;
};

// A toolbar: buttons given as an image list (image number = key, -1 = separator) and a
// tooltip list, both comma separated.
class Toolbar : public Observable {
  public:
    struct Button {
        int key = -1;
        std::string toolTip;
        bool separator() const { return key == -1; }
    };
    void SetButtons(const std::string& imageList, const std::string& toolTipList);
    const std::vector<Button>& buttons() const { return buttons_; }
    const std::string& imageList() const { return imageList_; }
    const std::string& toolTipList() const { return toolTipList_; }

  private:
    std::vector<Button> buttons_;
    std::string imageList_;
    std::string toolTipList_;
};

}  // namespace pendara
