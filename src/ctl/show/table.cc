#include "ctl/show/table.h"

#include "ctl/show/printable.h"
#include "platform/pellmar/log/escape.h"
#include "platform/sys/utf8.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace Ctl {

namespace {

constexpr std::size_t kGap = 2;

// Characters of a UTF-8 text: its bytes but for those that continue one.
std::size_t WidthOf(std::string_view text) {
    return text.size() - static_cast<std::size_t>(
                             std::count_if(text.begin(), text.end(), Sys::IsUtf8Continuation));
}

}  // namespace

Table::Table(std::vector<Column> columns) : columns(std::move(columns)) {
    std::vector<Cell> headings;
    bool hasHeading = false;
    for (const Column& column : this->columns) {
        headings.emplace_back(column.heading);
        hasHeading = hasHeading || !column.heading.empty();
    }
    if (hasHeading) {
        Add(std::move(headings));
    }
}

void Table::Add(std::vector<Cell> cells) {
    for (Cell& cell : cells) {
        cell.text = PrintableText(cell.text);
    }
    rows.push_back(std::move(cells));
}

void Table::Write(std::ostream& output) const {
    std::vector<std::size_t> widths(columns.size());
    for (const std::vector<Cell>& row : rows) {
        for (std::size_t index = 0; index < widths.size(); ++index) {
            widths[index] = std::max(widths[index], WidthOf(row[index].text));
        }
    }
    for (const std::vector<Cell>& row : rows) {
        WriteRow(row, widths, output);
    }
}

void Table::WriteRow(const std::vector<Cell>& cells, const std::vector<std::size_t>& widths,
                     std::ostream& output) const {
    std::string line;
    std::size_t blanks = 0;  // not written yet: a line does not end in blanks
    for (std::size_t index = 0; index < cells.size(); ++index) {
        const Cell& cell = cells[index];
        const std::size_t padding = widths[index] - WidthOf(cell.text);
        const bool isRight = columns[index].align == Align::Right;
        blanks += isRight ? padding : 0;
        if (!cell.text.empty()) {
            line.append(blanks, ' ');
            line += Paint(cell.text, cell.colour);
            blanks = 0;
        }
        blanks += (isRight ? 0 : padding) + kGap;
    }
    output << line << '\n';
}

}  // namespace Ctl
