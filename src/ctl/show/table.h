// Tables for people.
#pragma once

#include "ctl/show/terminal.h"

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Ctl {

// A table whose columns are as wide as their widest cell, with two blanks between them. Makes its
// cells printable.
class Table {
  public:
    enum class Align { Left, Right };
    struct Column {
        std::string heading;  // if all are empty, no line of headings is written
        Align align = Align::Left;
        bool isCut = false;  // on a narrow terminal; at most one column
    };

    struct Cell {
        // NOLINTNEXTLINE(google-explicit-constructor): most cells are plain texts
        Cell(std::string text, Colour colour = Colour::Plain)
            : text(std::move(text)), colour(colour) {}
        // NOLINTNEXTLINE(google-explicit-constructor)
        Cell(const char* text) : text(text) {}

        std::string text;
        Colour colour = Colour::Plain;
    };

    explicit Table(std::vector<Column> columns);

    // Adds a row: as many cells as columns.
    void Add(std::vector<Cell> cells);
    // Writes the table. On a terminal, cells of the column that may be cut end in "…" if they do
    // not fit.
    void Write(std::ostream& output) const;
    // Writes the table for an output of `width` columns.
    void Write(std::ostream& output, std::size_t width) const;

  private:
    std::vector<std::size_t> FittedWidths(std::size_t width) const;
    void WriteRow(const std::vector<Cell>& cells, const std::vector<std::size_t>& widths,
                  std::ostream& output) const;

    const std::vector<Column> columns;
    std::vector<std::vector<Cell>> rows;  // the headings, if any, are the first row
};

}  // namespace Ctl
