#include "ctl/command/help.h"

#include "ctl/command/command_line.h"
#include "ctl/show/terminal.h"
#include "ctl/show/wrap.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <ostream>
#include <string>

namespace Ctl {

namespace {

constexpr std::size_t kNameWidth = 18;     // the width of the longest option, --discard-comments
constexpr std::size_t kMostColumns = 100;  // longer lines are hard to read

// On a terminal as `Wrapped` does it, elsewhere as it is.
std::string Fitted(std::string_view text, std::size_t indent) {
    const std::optional<std::size_t> width = TerminalWidth();
    return width ? Wrapped(text, indent, std::min(*width, kMostColumns)) : std::string(text);
}

// The description with its paragraphs, and the items of its lists, broken for the terminal. An item
// is an indented line; its further lines begin where its text does, behind its name.
std::string Reflowed(std::string_view text) {
    std::string reflowed;
    std::string paragraph;
    std::size_t hanging = 0;  // of the paragraph's further lines
    const auto finish = [&] {
        const std::string head = paragraph.substr(0, hanging);
        reflowed += head + Fitted(std::string_view(paragraph).substr(head.size()), hanging) + "\n";
        paragraph.clear();
    };
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const std::size_t blanks = std::min(line.find_first_not_of(' '), line.size());
        const bool goesOn = !paragraph.empty() && !line.empty() && blanks == hanging;
        if (goesOn) {
            paragraph += " " + std::string(line.substr(blanks));
            continue;
        }
        if (!paragraph.empty()) {
            finish();
        }
        if (line.empty()) {
            reflowed += "\n";
            continue;
        }
        paragraph = line;
        hanging = blanks;
        if (const std::size_t gap = line.find("  ", blanks);
            blanks > 0 && gap != std::string_view::npos) {
            hanging = line.find_first_not_of(' ', gap);
        }
    }
    if (!paragraph.empty()) {
        finish();
    }
    return reflowed;
}

std::string WithValue(const Option& option) {
    const std::string value = option.value.empty() ? "" : " " + std::string(option.value);
    return std::string(option.name) + value;
}

void WriteLine(std::string_view name, std::string_view summary, std::ostream& output) {
    const std::string head = "  " + std::string(name) +
                             std::string(kNameWidth - std::min(name.size(), kNameWidth), ' ') +
                             "  ";
    output << head << Fitted(summary, kNameWidth + 4) << '\n';
}

void WriteOptions(std::span<const Option> options, std::ostream& output) {
    for (const Option& option : options) {
        WriteLine(WithValue(option), option.summary, output);
    }
}

void WriteExitStatus(std::ostream& output) {
    output << "\nExit status: 0 on success, 1 if the operation failed, 2 if the command line is "
              "invalid.\n";
}

}  // namespace

void WriteOverview(std::span<const Command> commands, std::string_view family,
                   std::ostream& output) {
    output << "Usage: sentrelctl " << (family.empty() ? "COMMAND" : family)
           << (family.empty() ? "" : " COMMAND") << " [OPTION...]\n\n";
    for (const Command& command : commands) {
        if (family.empty() || IsInFamily(command, family)) {
            WriteLine(command.name, command.summary, output);
        }
    }
    if (family.empty()) {
        WriteLine(std::string(kHelpWord) + " [COMMAND]", "show this help, or that of a command",
                  output);
        WriteOptions(std::span(&kVersionOption, 1), output);
    }
    output << "\nOptions of every command:\n";
    WriteOptions(kCommonOptions, output);
    output << "\n\"sentrelctl help COMMAND\" shows more, with an example.\n";
    WriteExitStatus(output);
}

void WriteCommandHelp(const Command& command, std::ostream& output) {
    // Nothing may follow a "--" but its operands.
    const std::string_view operands = command.operands.help;
    const std::string_view first = operands.substr(0, operands.find(" [-- "));
    std::string usage(command.name);
    if (!first.empty()) {
        usage.append(" ").append(first);
    }
    for (const std::span<const Option> options :
         {command.options, std::span(kCommonOptions).first(1)}) {
        for (const Option& option : options) {
            usage += option.isRequired ? " " + WithValue(option) : " [" + WithValue(option) + "]";
        }
    }
    usage += operands.substr(first.size());
    constexpr std::string_view kHead = "Usage: sentrelctl ";
    output << kHead << Fitted(usage, kHead.size()) << "\n\n"
           << (TerminalWidth() ? Reflowed(command.description) : std::string(command.description))
           << "\nOptions:\n";
    WriteOptions(command.options, output);
    WriteOptions(kCommonOptions, output);
    output << "\nExample:\n  " << command.example << '\n';
    if (command.judge == nullptr) {
        WriteExitStatus(output);
    }
}

}  // namespace Ctl
