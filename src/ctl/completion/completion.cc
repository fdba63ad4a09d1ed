#include "ctl/completion/completion.h"

#include "ctl/command/command_line.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace Ctl {

namespace {

// Parses the words as far as they go. The added "--help" keeps the parser from reporting missing
// operands.
CommandLine ReadBeginning(std::span<const Command> commands, std::span<const char* const> words) {
    std::vector<const char*> beginning = {"--help"};
    beginning.insert(beginning.end(), words.begin(), words.end());
    return ParseCommandLine(commands, beginning);
}

std::vector<Option> OptionsOf(const Command* command) {
    std::vector<Option> options;
    if (command != nullptr) {
        options.assign(command->options.begin(), command->options.end());
    }
    options.insert(options.end(), kCommonOptions.begin(), kCommonOptions.end());
    return options;
}

// The option with that name, if it takes a value.
std::optional<Option> FindValued(const Command* command, std::string_view name) {
    for (const Option& option : OptionsOf(command)) {
        if (option.name == name && !option.value.empty()) {
            return option;
        }
    }
    return std::nullopt;
}

void CompleteValue(const Option& option, Completion& completion) {
    completion.completes = option.completes;
    if (option.isList) {
        const std::size_t start = completion.typed.rfind(',') + 1;  // 0 without a comma
        completion.before += completion.typed.substr(0, start);
        completion.typed.erase(0, start);
    }
    for (const char* word : option.words) {
        completion.candidates.push_back({word, ""});
    }
}

void CompleteOption(const CommandLine& line, Completion& completion) {
    if (line.command == nullptr) {
        completion.candidates.push_back(
            {std::string(kVersionOption.name), std::string(kVersionOption.summary)});
    }
    for (const Option& option : OptionsOf(line.command)) {
        // ReadBeginning has added "--help"
        if (option.name == "--help" || !line.arguments.options.Has(option.name)) {
            completion.candidates.push_back(
                {std::string(option.name), std::string(option.summary)});
        }
    }
}

// Adds the next word of the commands' names; a family's once, with the words that follow it.
void CompleteCommand(std::span<const Command> commands, const std::string& family,
                     Completion& completion) {
    for (const Command& command : commands) {
        if (!family.empty() && !IsInFamily(command, family)) {
            continue;
        }
        const std::string_view rest = command.name.substr(family.empty() ? 0 : family.size() + 1);
        const std::string word(rest.substr(0, rest.find(' ')));
        std::vector<Candidate>& candidates = completion.candidates;
        const auto known =
            std::find_if(candidates.begin(), candidates.end(),
                         [&word](const Candidate& other) { return other.word == word; });
        if (word == rest) {
            candidates.push_back({word, std::string(command.summary)});
        } else if (const std::string next(rest.substr(word.size() + 1));
                   known == candidates.end()) {
            candidates.push_back({word, next});
        } else {
            known->description += ", " + next;
        }
    }
}

void CompleteWord(std::span<const Command> commands, const CommandLine& line,
                  Completion& completion) {
    if (line.command == nullptr) {
        CompleteCommand(commands, line.family, completion);
        if (line.family.empty()) {
            completion.candidates.push_back({std::string(kHelpWord), "show the help of a command"});
        }
        return;
    }
    const Operands& operands = line.command->operands;
    const std::size_t count = line.arguments.operands.size();
    if (count < operands.most) {
        completion.completes = count == 0 ? operands.first : operands.others;
        completion.operands = line.arguments.operands;
    }
}

Completion Find(std::span<const Command> commands, std::span<const char* const> words) {
    const std::string last = words.back();
    const auto before = words.first(words.size() - 1);
    const bool onlyOperands = std::any_of(before.begin(), before.end(),
                                          [](std::string_view word) { return word == "--"; });
    Completion completion;
    completion.typed = last;
    if (!before.empty() && !onlyOperands && !last.starts_with("--") &&
        std::string_view(before.back()).starts_with("--")) {
        // only a value can follow an option that takes one
        const CommandLine line = ReadBeginning(commands, before.first(before.size() - 1));
        if (const std::optional<Option> option = FindValued(line.command, before.back())) {
            completion.options = line.arguments.options;
            CompleteValue(*option, completion);
            return completion;
        }
    }
    const CommandLine line = ReadBeginning(commands, before);
    completion.options = line.arguments.options;
    const std::size_t sign = last.find('=');
    if (onlyOperands || !last.starts_with('-')) {
        CompleteWord(commands, line, completion);
    } else if (sign == std::string::npos) {
        CompleteOption(line, completion);
    } else {
        completion.before = last.substr(0, sign + 1);
        completion.typed = last.substr(sign + 1);
        if (const std::optional<Option> option = FindValued(line.command, last.substr(0, sign))) {
            CompleteValue(*option, completion);
        }
    }
    return completion;
}

}  // namespace

Completion FindCompletion(std::span<const Command> commands, std::span<const char* const> words) {
    try {
        return words.empty() ? Completion{} : Find(commands, words);
    } catch (const UsageError&) {
        return {};
    }
}

}  // namespace Ctl
