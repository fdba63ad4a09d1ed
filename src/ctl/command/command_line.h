// Parses the arguments of the program into a sub-command and its options. Runs nothing and writes
// nothing.
#pragma once

#include "ctl/command/command.h"
#include "ctl/show/failure.h"

#include <array>
#include <span>
#include <string>
#include <string_view>

namespace Ctl {

// The option of the program itself, without a command: prints the version.
inline constexpr Option kVersionOption = {"--version", "", "print the version"};
// "help COMMAND" means "COMMAND --help".
inline constexpr std::string_view kHelpWord = "help";

// The options of every command. They may also precede the command's name.
inline constexpr std::array<Option, 2> kCommonOptions = {{
    {"--root", "DIR", "the host below DIR, as SENTREL_ROOT names it", Completes::Directory},
    {"--help", "", "print this help"},
}};

// An invalid command line.
class UsageError : public Failure {
  public:
    static constexpr int kStatus = 2;

    explicit UsageError(const std::string& happened, const std::string& advice = {},
                        int exitStatus = kStatus)
        : Failure(happened, advice), exitStatus(exitStatus) {}

    int ExitStatus() const { return exitStatus; }

  private:
    int exitStatus;
};

struct CommandLine {
    const Command* command = nullptr;  // null with --help or --version only
    std::string family;                // with --help and no command: the family, or empty
    bool asksVersion = false;          // alone, without a command
    Arguments arguments;
};

// Parses the arguments, without the program's name. An option's value is the next argument or
// follows "="; after "--" every argument is an operand. Throws UsageError.
CommandLine ParseCommandLine(std::span<const Command> commands,
                             std::span<const char* const> arguments);

// Whether `family` is the first of the two words of a command's name.
bool IsInFamily(const Command& command, std::string_view family);

}  // namespace Ctl
