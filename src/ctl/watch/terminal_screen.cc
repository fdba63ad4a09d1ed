#include "ctl/watch/terminal_screen.h"

#include "ctl/show/failure.h"
#include "ctl/show/printable.h"
#include "platform/sys/utf8.h"

#include <ncurses.h>

#include <algorithm>
#include <array>
#include <climits>
#include <clocale>
#include <cstdio>
#include <cwchar>

#include <sys/ioctl.h>
#include <unistd.h>

namespace Ctl {

namespace {

constexpr int kEscapeDelay = 50;  // milliseconds until an Escape is not the start of another key
constexpr std::size_t kMaxBytesPerColumn = 16;  // of a character with its combining marks
constexpr std::array<std::pair<Colour, short>, 5> kPairs = {{{Colour::Green, COLOR_GREEN},
                                                             {Colour::Yellow, COLOR_YELLOW},
                                                             {Colour::Red, COLOR_RED},
                                                             {Colour::Magenta, COLOR_MAGENTA},
                                                             {Colour::Cyan, COLOR_CYAN}}};

attr_t AttributesOf(const Style& style) {
    attr_t attributes = style.isBold || style.colour == Colour::Red ? A_BOLD : A_NORMAL;
    attributes |= style.isReverse ? A_REVERSE : A_NORMAL;
    return attributes | (style.colour == Colour::Faint ? A_DIM : A_NORMAL);
}

short PairOf(Colour colour) {
    const auto* const found = std::find_if(
        kPairs.begin(), kPairs.end(), [colour](const auto& pair) { return pair.first == colour; });
    return found == kPairs.end() || !has_colors() ? short{0}
                                                  : static_cast<short>(found - kPairs.begin() + 1);
}

void PreparePairs() {
    if (!ShowsColours() || start_color() == ERR) {
        return;
    }
    (void)use_default_colors();  // fails on terminals without default colours, which use black
    for (std::size_t index = 0; index < kPairs.size(); ++index) {
        (void)init_pair(static_cast<short>(index + 1), kPairs[index].second, -1);
    }
}

// The columns that a character takes; negative if it is not printable in this locale.
int WidthOf(wchar_t character) {
    const bool isAscii = character >= L' ' && character <= L'~';  // most are: without a lookup
    return isAscii ? 1 : ::wcwidth(character);
}

// Converts UTF-8 to wide characters of the locale that take one or two columns; others become "?".
std::wstring WideText(std::string_view text) {
    std::wstring wide;
    while (!text.empty()) {
        if (text.front() >= ' ' && text.front() <= '~') {
            wide += static_cast<wchar_t>(text.front());  // the same in every locale
            text.remove_prefix(1);
            continue;
        }
        const std::size_t length = std::max<std::size_t>(Sys::Utf8LengthAt(text, 0), 1);
        std::mbstate_t state{};
        wchar_t character = 0;
        // NOLINTNEXTLINE(concurrency-mt-unsafe): it is safe with a state of its own
        const std::size_t used = std::mbrtowc(&character, text.data(), length, &state);
        wide += used <= length && WidthOf(character) >= 0 ? character : L'?';
        text.remove_prefix(length);
    }
    return wide;
}

int ColumnsOf(std::wstring_view text) {
    int columns = 0;
    for (const wchar_t character : text) {
        columns += std::max(WidthOf(character), 0);
    }
    return columns;
}

std::wstring Cut(std::wstring text, int width) {
    if (ColumnsOf(text) <= width) {
        return text;
    }
    int columns = ColumnsOf(text);
    while (!text.empty() && columns >= width) {
        columns -= std::max(WidthOf(text.back()), 0);
        text.pop_back();
    }
    return text + (ShowsUnicode() ? L'…' : L'.');
}

}  // namespace

struct TerminalScreen::Terminal {
    SCREEN* screen = nullptr;
};

TerminalScreen::TerminalScreen() : terminal(std::make_unique<Terminal>()) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the process has one thread
    (void)std::setlocale(LC_CTYPE, "");  // if the locale is missing, ASCII is used
    terminal->screen = ::newterm(nullptr, stdout, stdin);
    if (terminal->screen == nullptr || ::tigetstr("cup") == nullptr) {
        if (terminal->screen != nullptr) {
            (void)::endwin();
            ::delscreen(terminal->screen);
        }
        throw Failure("this terminal cannot show a screen",
                      "set TERM to its type, or use --json for one line per change");
    }
    (void)::cbreak();
    (void)::noecho();
    (void)::keypad(stdscr, true);
    (void)::nodelay(stdscr, true);
    (void)::set_escdelay(kEscapeDelay);
    (void)::curs_set(0);  // some terminals cannot hide the cursor
    PreparePairs();
}

TerminalScreen::~TerminalScreen() {
    (void)::endwin();
    ::delscreen(terminal->screen);
}

int TerminalScreen::Rows() const { return LINES; }

int TerminalScreen::Columns() const { return COLS; }

void TerminalScreen::Resize() {
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && size.ws_col > 0) {
        (void)::resizeterm(size.ws_row, size.ws_col);
        (void)::clearok(curscr, true);  // terminals move their contents differently after a resize
    }
}

void TerminalScreen::Clear() { (void)::erase(); }

int TerminalScreen::Put(int row, int column, int width, std::string_view text, Style style) {
    const int fitting = std::min(width, COLS - column);
    if (row < 0 || row >= LINES || column < 0 || fitting <= 0) {
        return 0;
    }
    const std::string_view fits =
        Sys::CutUtf8(text, kMaxBytesPerColumn * static_cast<std::size_t>(fitting + 1));
    const std::wstring shown = Cut(WideText(PrintableText(fits)), fitting);
    (void)::attr_set(AttributesOf(style), PairOf(style.colour), nullptr);
    // ncurses returns an error for the last cell of the screen, since the cursor cannot move past
    // it
    (void)::mvaddnwstr(row, column, shown.c_str(), static_cast<int>(shown.size()));
    return ColumnsOf(shown);
}

void TerminalScreen::PutRight(int row, int end, std::string_view text, Style style) {
    (void)Put(row, std::max(end - ColumnsOf(WideText(text)), 0), INT_MAX, text, style);
}

void TerminalScreen::Show() { (void)::refresh(); }

KeyPress TerminalScreen::ReadKey() {
    using Key = KeyPress::Key;
    constexpr std::array<std::pair<wint_t, Key>, 9> kKeys = {{{KEY_UP, Key::Up},
                                                              {KEY_DOWN, Key::Down},
                                                              {KEY_PPAGE, Key::PageUp},
                                                              {KEY_NPAGE, Key::PageDown},
                                                              {KEY_HOME, Key::Home},
                                                              {KEY_END, Key::End},
                                                              {KEY_ENTER, Key::Enter},
                                                              {KEY_BACKSPACE, Key::Erase},
                                                              {KEY_DC, Key::Erase}}};
    constexpr wint_t kEscape = 27;
    constexpr wint_t kDelete = 127;
    for (;;) {
        wint_t code = 0;
        const int kind = ::get_wch(&code);
        if (kind == ERR) {
            return {};
        }
        if (kind == KEY_CODE_YES) {
            for (const auto& [special, key] : kKeys) {
                if (special == code) {
                    return {key};
                }
            }
            continue;  // a key without a function
        }
        if (code == '\n' || code == '\r') {
            return {Key::Enter};
        }
        if (code == kEscape || code == kDelete || code == '\b') {
            return {code == kEscape ? Key::Escape : Key::Erase};
        }
        std::array<char, MB_LEN_MAX> bytes{};
        std::mbstate_t state{};
        // NOLINTNEXTLINE(concurrency-mt-unsafe): it is safe with a state of its own
        const std::size_t length = std::wcrtomb(bytes.data(), static_cast<wchar_t>(code), &state);
        return {Key::Character, std::string(bytes.data(), length <= bytes.size() ? length : 0)};
    }
}

}  // namespace Ctl
