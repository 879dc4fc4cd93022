#pragma once

// A grid of text cells with per-cell background colours, column headers and widths, and a
// selected row: the script window's vbalGrid1. Rows and columns count from 1, as the window
// counts them. The view is told which cell changed, so a long grid repaints only that cell.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/controls.h"

namespace i2cbridge {

// The system's button-face colour (the Line column's background), as opposed to an RGB value.
inline constexpr uint32_t kButtonFaceColor = 0x8000000F;

class Grid : public Control {
public:
    struct Cell {
        std::string text;
        RgbColor back;  // nullopt: the grid's own background
    };
    struct Column {
        std::string header;
        int width = 64;  // pixels
    };

    std::function<void(int row, int column)> onCell;
    std::function<void()> onRows;     // rows added, removed or all replaced
    std::function<void()> onColumns;  // headers or widths
    std::function<void()> onSelection;

    int rowCount() const { return static_cast<int>(cells_.size()); }
    int columnCount() const { return static_cast<int>(columns_.size()); }
    const Column& column(int c) const { return columns_[c - 1]; }
    const Cell& cell(int row, int c) const { return cells_[row - 1][c - 1]; }

    void setColumns(std::vector<Column> columns) {
        columns_ = std::move(columns);
        for (auto& row : cells_) row.resize(columns_.size());
        notify(onColumns);
    }
    void setColumnWidth(int c, int width) {
        if (columns_[c - 1].width == width) return;
        columns_[c - 1].width = width;
        notify(onColumns);
    }
    // Replaces every row by `rows` empty ones; nothing of earlier rows stays.
    void resetRows(int rows) {
        cells_.assign(rows, std::vector<Cell>(columns_.size()));
        selected_ = 0;
        notify(onRows);
    }
    void setText(int row, int c, std::string_view text) {
        Cell& cell = cells_[row - 1][c - 1];
        if (cell.text == text) return;
        cell.text.assign(text);
        if (onCell) onCell(row, c);
    }
    void setBack(int row, int c, RgbColor back) {
        Cell& cell = cells_[row - 1][c - 1];
        if (cell.back == back) return;
        cell.back = back;
        if (onCell) onCell(row, c);
    }
    // The selected row, 0 for none. Setting it from code runs no handler.
    int selectedRow() const { return selected_; }
    void setSelectedRow(int row) {
        if (selected_ == row) return;
        selected_ = row;
        notify(onSelection);
    }

private:
    static void notify(const std::function<void()>& hook) {
        if (hook) hook();
    }
    std::vector<Column> columns_;
    std::vector<std::vector<Cell>> cells_;
    int selected_ = 0;
};

}  // namespace i2cbridge
