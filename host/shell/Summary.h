// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace orlo::host {

/// A statement of a summary.
struct SummaryRow {
    const char* label;  ///< "right", "attention" or "to do"
    std::string text;
};

/// The end of a report: the counts of clips in order, the problems, and a remedy for each.
class Summary {
public:
    /// Adds a statement that needs no action.
    void AddRight(const std::string& text) { right_.push_back({"right", text}); }

    /// Adds a statement that needs attention, and its remedy.
    void AddAttention(const std::string& text, const std::string& remedy) {
        attention_.push_back({"attention", text});
        attention_.push_back({"to do", remedy});
    }

    /// The statements in two columns, which fit into 80 columns. Statements that need attention are
    /// last.
    std::string Text() const;

    /// The statements in the order of the text.
    std::vector<SummaryRow> Rows() const;

private:
    std::vector<SummaryRow> right_;
    std::vector<SummaryRow> attention_;
};

/// A number with its noun: "1 clip", "2 clips".
std::string Counted(long long count, const std::string& noun);

}  // namespace orlo::host
