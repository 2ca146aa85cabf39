// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

namespace sonrel_tests {

/// A terminal screen for the output of the player and of shells: characters of one or two columns,
/// line ends, cursor up, and the two ways of erasing. A full line wraps with the next character,
/// and the last row scrolls.
class TerminalScreen {
public:
    TerminalScreen(int columns, int rows) : columns_(columns), rows_(rows, Blank(columns)) {}

    void Feed(const std::string& bytes) {
        pending_ += bytes;
        while (!pending_.empty()) {
            const std::size_t used = FeedOne();
            if (used == 0) return;
            pending_.erase(0, used);
        }
    }

    /// A row as text; the second half of a wide character is omitted.
    std::string Row(int row) const {
        std::string text;
        for (const std::string& cell : rows_.at(row)) text += cell;
        return text.erase(text.find_last_not_of(' ') + 1);
    }
    std::vector<std::string> Rows() const {
        std::vector<std::string> rows;
        for (int row = 0; row < static_cast<int>(rows_.size()); ++row) rows.push_back(Row(row));
        return rows;
    }
    /// The rows that contain a text.
    int CountRows(const std::string& text) const {
        const std::vector<std::string> rows = Rows();
        return static_cast<int>(std::count_if(rows.begin(), rows.end(), [&](const auto& row) {
            return row.find(text) != std::string::npos;
        }));
    }
    /// The column of a character in a row; -1 if the row does not contain it.
    int ColumnOf(int row, const std::string& character) const {
        const auto& cells = rows_.at(row);
        const auto at = std::find(cells.begin(), cells.end(), character);
        return at == cells.end() ? -1 : static_cast<int>(at - cells.begin());
    }
    int Scrolled() const { return scrolled_; }

    /// Changes the size, like a terminal that does not rewrap its lines.
    void Resize(int columns, int rows) {
        while (static_cast<int>(rows_.size()) > rows && row_ >= rows) Scroll(1), --row_;
        columns_ = columns;
        rows_.resize(rows, Blank(columns));
        for (auto& cells : rows_) cells.resize(columns, " ");
        column_ = std::min(column_, columns - 1);
    }

private:
    static std::vector<std::string> Blank(int columns) {
        return std::vector<std::string>(columns, " ");
    }

    void Scroll(int lines) {
        rows_.erase(rows_.begin(), rows_.begin() + lines);
        rows_.resize(rows_.size() + lines, Blank(columns_));
        scrolled_ += lines;
    }
    void LineFeed() {
        if (row_ + 1 < static_cast<int>(rows_.size())) {
            ++row_;
        } else {
            Scroll(1);
        }
    }

    /// @return the bytes used; 0 when the sequence is incomplete
    std::size_t FeedOne() {
        const auto first = static_cast<unsigned char>(pending_[0]);
        if (first == 0x1B) return Escape();
        if (first == '\r') column_ = 0;
        if (first == '\n') LineFeed();
        if (first < 0x20) return 1;
        const std::size_t length = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
        if (pending_.size() < length) return 0;
        // The tests write Latin letters in one column, and Chinese characters in two.
        Put(pending_.substr(0, length), length >= 3 ? 2 : 1);
        return length;
    }

    void Put(const std::string& character, int width) {
        if (column_ + width > columns_) {
            column_ = 0;
            LineFeed();
        }
        rows_[row_][column_] = character;
        if (width == 2) rows_[row_][column_ + 1] = "";
        column_ += width;
    }

    std::size_t Escape() {
        const std::size_t end = pending_.find_first_not_of("0123456789;?", 2);
        if (pending_.size() < 2 || end == std::string::npos) return 0;
        const int number = std::max(std::atoi(pending_.c_str() + 2), 1);
        const auto cursor = rows_[row_].begin() + std::min(column_, columns_);
        switch (pending_[end]) {
            case 'A':
                row_ = std::max(row_ - number, 0);
                break;
            case 'K':
                std::fill(cursor, rows_[row_].end(), " ");
                break;
            case 'J':
                std::fill(cursor, rows_[row_].end(), " ");
                std::fill(rows_.begin() + row_ + 1, rows_.end(), Blank(columns_));
                break;
            default:
                break;
        }
        return end + 1;
    }

    int columns_;
    std::vector<std::vector<std::string>> rows_;
    int row_ = 0;
    int column_ = 0;
    int scrolled_ = 0;
    std::string pending_;
};

}  // namespace sonrel_tests
