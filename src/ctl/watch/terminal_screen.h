// The terminal as a screen of cells, and its keys, by ncurses. Only cells that differ from the
// terminal's contents are sent.
#pragma once

#include "ctl/show/terminal.h"

#include <memory>
#include <string>
#include <string_view>

namespace Ctl {

struct KeyPress {
    enum class Key {
        None,  // no key was pressed
        Character,
        Up,
        Down,
        PageUp,
        PageDown,
        Home,
        End,
        Enter,
        Escape,
        Erase
    };
    Key key = Key::None;
    std::string character = {};  // in the locale's encoding
};

struct Style {
    Colour colour = Colour::Plain;
    bool isBold = false;
    bool isReverse = false;
};

// Restores the terminal when destroyed. At most one object may exist at a time.
class TerminalScreen {
  public:
    // Throws Failure if standard output is a terminal that cannot move its cursor.
    TerminalScreen();
    ~TerminalScreen();
    TerminalScreen(const TerminalScreen&) = delete;
    TerminalScreen& operator=(const TerminalScreen&) = delete;

    int Rows() const;
    int Columns() const;
    // Adopts the terminal's new size.
    void Resize();

    // Begins the next frame, which is empty.
    void Clear();
    // Writes UTF-8 text at a position of the frame. Text beyond `width` columns, or beyond the row,
    // is cut and ends in "…". Returns the columns written.
    int Put(int row, int column, int width, std::string_view text, Style style = {});
    // Writes text so that it ends before column `end`.
    void PutRight(int row, int end, std::string_view text, Style style = {});
    // Shows the frame.
    void Show();

    // The next key; waits only for the rest of a key's sequence.
    KeyPress ReadKey();

  private:
    struct Terminal;
    const std::unique_ptr<Terminal> terminal;
};

}  // namespace Ctl
