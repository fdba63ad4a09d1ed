#include "ctl/command/command_line.h"

#include "ctl/show/near_names.h"
#include "ctl/show/words.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace Ctl {

namespace {

std::string Quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }

std::string HelpAdvice(std::string_view name) {
    const std::string words = name.empty() ? "" : std::string(name) + " ";
    return "see " + Quoted("sentrelctl " + words + "--help");
}

const Option* FindOption(std::span<const Option> options, std::string_view name) {
    const auto found = std::find_if(options.begin(), options.end(), [name](const Option& option) {
        return option.name == name || (name == "-h" && option.name == "--help");
    });
    return found == options.end() ? nullptr : &*found;
}

class Parser {
  public:
    Parser(std::span<const Command> commands, std::span<const char* const> arguments)
        : commands(commands), arguments(arguments) {}

    CommandLine Parse() {
        try {
            TakeAll();
        } catch (const UsageError& error) {
            if (line.command != nullptr && line.command->failureStatus != 0) {
                throw UsageError(error.WhatHappened(), error.Advice(), line.command->failureStatus);
            }
            throw;
        }
        return std::move(line);
    }

  private:
    void TakeAll() {
        while (next < arguments.size()) {
            const std::string_view argument = arguments[next++];
            if (argument == "--" && !onlyOperands) {
                onlyOperands = true;
            } else if (argument.starts_with('-') && argument != "-" && !onlyOperands) {
                TakeOption(argument);
            } else {
                TakeWord(argument);
            }
        }
        if (!line.arguments.options.Has("--help") && !line.asksVersion) {
            RefuseMissing();
        }
    }

    void TakeWord(std::string_view word) {
        if (line.command != nullptr) {
            TakeOperand(word);
            return;
        }
        if (line.family.empty() && word == kHelpWord) {
            line.arguments.options.Add("--help", "");
            return;
        }
        const std::string name =
            line.family.empty() ? std::string(word) : line.family + " " + std::string(word);
        for (const Command& command : commands) {
            if (command.name == name) {
                line.command = &command;
                return;
            }
        }
        const bool isFamily =
            std::any_of(commands.begin(), commands.end(),
                        [&name](const Command& command) { return IsInFamily(command, name); });
        if (!isFamily) {
            throw UsageError("unknown command " + Quoted(name),
                             NearNamesAdvice(name, CommandNames(), HelpAdvice(line.family)));
        }
        line.family = name;
    }

    // The commands that could stand here, with the word of their family.
    std::vector<std::string> CommandNames() const {
        std::vector<std::string> names = {std::string(kHelpWord)};
        for (const Command& command : commands) {
            const bool isHere = line.family.empty() || IsInFamily(command, line.family);
            std::string name(isHere ? command.name : "");
            if (line.family.empty()) {
                name.resize(std::min(name.find(' '), name.size()));
            }
            if (isHere && name != names.back()) {
                names.push_back(std::move(name));
            }
        }
        return names;
    }

    std::vector<std::string> OptionNames() const {
        std::vector<std::string> names;
        const auto add = [&names](std::span<const Option> options) {
            for (const Option& option : options) {
                names.emplace_back(option.name);
            }
        };
        add(kCommonOptions);
        add(line.command == nullptr ? std::span(&kVersionOption, 1) : line.command->options);
        return names;
    }

    void TakeOperand(std::string_view word) {
        if (line.arguments.operands.size() == line.command->operands.most) {
            const char* sort = line.command->operands.most == 0 ? " takes no argument "
                                                                : " takes no further argument ";
            throw UsageError(Quoted(line.command->name) + sort + Quoted(word),
                             HelpAdvice(line.command->name));
        }
        line.arguments.operands.emplace_back(word);
    }

    void TakeOption(std::string_view argument) {
        const std::size_t sign = argument.find('=');
        const std::string_view name = argument.substr(0, sign);
        if (argument == kVersionOption.name && line.command == nullptr) {
            line.asksVersion = true;
            return;
        }
        const Option* option = FindOption(kCommonOptions, name);
        if (option == nullptr && line.command != nullptr) {
            option = FindOption(line.command->options, name);
        }
        if (option == nullptr) {
            throw UsageError("unknown option " + Quoted(name) +
                                 (line.command == nullptr ? " before a command" : ""),
                             NearNamesAdvice(name, OptionNames(), HelpAdvice(Name())));
        }
        const bool hasValue = sign != std::string_view::npos;
        if (option->value.empty()) {
            if (hasValue) {
                throw UsageError("option " + Quoted(option->name) + " takes no value",
                                 HelpAdvice(Name()));
            }
            line.arguments.options.Add(option->name, "");
            return;
        }
        const std::string_view value = hasValue ? argument.substr(sign + 1) : TakeValue();
        if (value.empty()) {
            throw UsageError("option " + Quoted(option->name) + " needs a value: write " +
                             std::string(option->name) + " " + std::string(option->value));
        }
        line.arguments.options.Add(option->name, std::string(value));
    }

    // Empty if the next argument is an option: the value was forgotten.
    std::string_view TakeValue() {
        if (next == arguments.size() || std::string_view(arguments[next]).starts_with("--")) {
            return "";
        }
        return arguments[next++];
    }

    // The command's name, as far as it is known.
    std::string_view Name() const {
        return line.command == nullptr ? std::string_view(line.family) : line.command->name;
    }

    void RefuseMissing() const {
        if (line.command == nullptr) {
            RefuseMissingCommand();
        }
        if (line.arguments.operands.size() < line.command->operands.least) {
            throw UsageError(
                Quoted(line.command->name) + " needs " + std::string(line.command->operands.help),
                HelpAdvice(line.command->name));
        }
    }

    [[noreturn]] void RefuseMissingCommand() const {
        if (line.family.empty()) {
            throw UsageError("a command is missing", HelpAdvice(""));
        }
        std::vector<std::string> names;
        for (const Command& command : commands) {
            if (IsInFamily(command, line.family)) {
                names.emplace_back(command.name.substr(line.family.size() + 1));
            }
        }
        throw UsageError(Quoted(line.family) + " needs one of its commands: " + Joined(names),
                         HelpAdvice(line.family));
    }

    const std::span<const Command> commands;
    const std::span<const char* const> arguments;
    std::size_t next = 0;
    bool onlyOperands = false;  // "--" was seen
    CommandLine line;
};

}  // namespace

CommandLine ParseCommandLine(std::span<const Command> commands,
                             std::span<const char* const> arguments) {
    return Parser(commands, arguments).Parse();
}

bool IsInFamily(const Command& command, std::string_view family) {
    return command.name.size() > family.size() && command.name.starts_with(family) &&
           command.name[family.size()] == ' ';
}

}  // namespace Ctl
