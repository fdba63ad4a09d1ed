#include "ctl/command/help.h"

#include "ctl/command/command_line.h"

#include <iomanip>
#include <ostream>
#include <string>

namespace Ctl {

namespace {

constexpr int kNameWidth = 18;  // of the widest option, --discard-comments

std::string WithValue(const Option& option) {
    const std::string value = option.value.empty() ? "" : " " + std::string(option.value);
    return std::string(option.name) + value;
}

void WriteLine(std::string_view name, std::string_view summary, std::ostream& output) {
    output << "  " << std::left << std::setw(kNameWidth) << name << "  " << summary << '\n';
}

void WriteOptions(std::span<const Option> options, std::ostream& output) {
    for (const Option& option : options) {
        WriteLine(WithValue(option), option.summary, output);
    }
}

void WriteExitStatus(std::ostream& output) {
    output << "\nExit status: 0, 1 when the operation failed, 2 when the command line is wrong.\n";
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
    output << "\nOptions of every command:\n";
    WriteOptions(kCommonOptions, output);
    output << "\n\"sentrelctl COMMAND --help\" tells more, with an example.\n";
    WriteExitStatus(output);
}

void WriteCommandHelp(const Command& command, std::ostream& output) {
    output << "Usage: sentrelctl " << command.name;
    if (!command.operands.help.empty()) {
        output << ' ' << command.operands.help;
    }
    for (const std::span<const Option> options :
         {command.options, std::span(kCommonOptions).first(1)}) {
        for (const Option& option : options) {
            output << " [" << WithValue(option) << ']';
        }
    }
    output << "\n\n" << command.description << "\nOptions:\n";
    WriteOptions(command.options, output);
    WriteOptions(kCommonOptions, output);
    output << "\nExample:\n  " << command.example << '\n';
    if (command.judge == nullptr) {
        WriteExitStatus(output);
    }
}

}  // namespace Ctl
