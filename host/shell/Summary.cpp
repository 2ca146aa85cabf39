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
    for (const SummaryRow& row : Rows()) text += RowText(row.label, row.text);
    if (attention_.empty()) text += RowText("attention", "nothing");
    return text;
}

std::vector<SummaryRow> Summary::Rows() const {
    std::vector<SummaryRow> rows = right_;
    rows.insert(rows.end(), attention_.begin(), attention_.end());
    return rows;
}

std::string Counted(long long count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace orlo::host
