// SPDX-License-Identifier: MIT
#include "host/shell/Summary.h"

#include "host/shell/Terminal.h"
#include "host/shell/Text.h"
#include "host/shell/TextColumns.h"

namespace orlo::host {

namespace {

constexpr int LABEL_COLUMNS = 13;

std::string RowText(const std::string& label, const std::string& text) {
    std::string rows;
    std::string left = "  " + label;
    for (const std::string& line : WrapToColumns(OneLine(text), ReportColumns() - LABEL_COLUMNS)) {
        rows += FitToColumns(left, LABEL_COLUMNS) + line + "\n";
        left.clear();
    }
    return rows;
}

}  // namespace

std::string Summary::Text() const {
    std::string text = "summary\n";
    for (const Row& row : right_) text += RowText(row.label, row.text);
    for (const Row& row : attention_) text += RowText(row.label, row.text);
    if (attention_.empty()) text += RowText("attention", "nothing");
    return text;
}

std::string Counted(long long count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace orlo::host
