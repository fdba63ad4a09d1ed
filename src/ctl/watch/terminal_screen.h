// The terminal as a screen of cells, by ncurses, and its keys. Nothing is sent but the cells that
// differ from what the terminal shows.
#pragma once

#include "ctl/show/terminal.h"

#include <memory>
#include <string>
#include <string_view>

namespace Ctl {

struct KeyPress {
    enum class Key {
        None,  // nothing was typed
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

// At most one at a time. The terminal is as it was before when it is gone.
class TerminalScreen {
  public:
    // Throws Failure when standard output is a terminal that cannot move its cursor.
    TerminalScreen();
    ~TerminalScreen();
    TerminalScreen(const TerminalScreen&) = delete;
    TerminalScreen& operator=(const TerminalScreen&) = delete;

    int Rows() const;
    int Columns() const;
    // Takes the terminal's new size.
    void Resize();

    // The next frame begins, empty.
    void Clear();
    // Writes UTF-8 text at a place of the frame. What exceeds `width` columns, or the row, is cut
    // and ends in "…". Gives the columns written.
    int Put(int row, int column, int width, std::string_view text, Style style = {});
    // Writes it so that it ends before `end`.
    void PutRight(int row, int end, std::string_view text, Style style = {});
    // The frame is shown.
    void Show();

    // Without waiting, but for the rest of a key's sequence.
    KeyPress ReadKey();

  private:
    struct Terminal;
    const std::unique_ptr<Terminal> terminal;
};

}  // namespace Ctl
