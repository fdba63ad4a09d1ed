#include "ctl/show/table.h"

#include "ctl/show/printable.h"
#include "ctl/show/wrap.h"
#include "platform/pellmar/log/escape.h"
#include "platform/sys/utf8.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <ostream>
#include <utility>

namespace Ctl {

namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kLeastCut = 12;  // the least width of a cut column

std::string CutToWidth(const std::string& text, std::size_t width) {
    if (WidthOf(text) <= width) {
        return text;
    }
    std::size_t end = 0;
    for (std::size_t column = 0; column + 1 < width; ++column) {
        end += std::max<std::size_t>(Sys::Utf8LengthAt(text, end), 1);
    }
    return text.substr(0, end) + "…";
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
    Write(output, TerminalWidth().value_or(std::numeric_limits<std::size_t>::max()));
}

void Table::Write(std::ostream& output, std::size_t width) const {
    const std::vector<std::size_t> widths = FittedWidths(width);
    for (const std::vector<Cell>& row : rows) {
        WriteRow(row, widths, output);
    }
}

std::vector<std::size_t> Table::FittedWidths(std::size_t width) const {
    std::vector<std::size_t> widths(columns.size());
    for (const std::vector<Cell>& row : rows) {
        for (std::size_t index = 0; index < widths.size(); ++index) {
            widths[index] = std::max(widths[index], WidthOf(row[index].text));
        }
    }
    const std::size_t total =
        std::accumulate(widths.begin(), widths.end(), std::size_t{0}) + kGap * (widths.size() - 1);
    for (std::size_t index = 0; index < widths.size() && total > width; ++index) {
        if (columns[index].isCut) {
            const std::size_t excess = total - width;
            widths[index] -= std::min(excess, widths[index] - std::min(widths[index], kLeastCut));
        }
    }
    return widths;
}

void Table::WriteRow(const std::vector<Cell>& cells, const std::vector<std::size_t>& widths,
                     std::ostream& output) const {
    std::string line;
    std::size_t blanks = 0;  // pending: a line does not end in blanks
    for (std::size_t index = 0; index < cells.size(); ++index) {
        const Cell cell{CutToWidth(cells[index].text, widths[index]), cells[index].colour};
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
