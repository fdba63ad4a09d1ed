// Small tables for people.
#pragma once

#include "ctl/show/terminal.h"

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Ctl {

// Columns are as wide as their widest cell, with two blanks between. Cells are made printable.
class Table {
  public:
    enum class Align { Left, Right };
    struct Column {
        std::string heading;  // all empty: no line of headings
        Align align = Align::Left;
        bool isCut = false;  // where the terminal is too narrow; at most one of the columns
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

    // As many cells as there are columns.
    void Add(std::vector<Cell> cells);
    // On a terminal the cells of the column that may be cut end in "…" where they do not fit.
    void Write(std::ostream& output) const;
    // The same for an output of `width` columns.
    void Write(std::ostream& output, std::size_t width) const;

  private:
    std::vector<std::size_t> FittedWidths(std::size_t width) const;
    void WriteRow(const std::vector<Cell>& cells, const std::vector<std::size_t>& widths,
                  std::ostream& output) const;

    const std::vector<Column> columns;
    std::vector<std::vector<Cell>> rows;  // the headings are the first, if there are any
};

}  // namespace Ctl
