// What a sub-command of the operator's tool is: the row of its table, from which the command line
// is read and the help is written. Each family of sub-commands has a file with its rows; main.cc
// joins them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Ctl {

// What a shell offers where an operand or an option's value is to be typed.
enum class Completes {
    Nothing,
    File,
    Directory,
    ReportName,
    PluginName,
    State,         // of a report
    Operation,     // of the API
    Setting,       // ENTRY.KEY
    SettingValue,  // of the setting that is the first operand
    Privilege      // that a token may grant
};

struct Option {
    std::string_view name;     // "--json"
    std::string_view value;    // what the help calls its value, such as "DIR"; empty: it takes none
    std::string_view summary;  // one line
    Completes completes = Completes::Nothing;  // its value
    std::span<const char* const> words{};      // the values that there are, where they are few
    bool isList = false;                       // several of them, separated by commas
};

// Of every command that can.
inline constexpr Option kJsonOption = {"--json", "", "print JSON instead, in one line"};

// The options of a command line with their values (empty for those that take none), in its order.
class GivenOptions {
  public:
    void Add(std::string_view name, std::string value) {
        given.emplace_back(name, std::move(value));
    }
    bool Has(std::string_view name) const {
        return std::any_of(given.begin(), given.end(),
                           [name](const auto& option) { return option.first == name; });
    }
    // Those of all that are given, in their order.
    std::vector<std::string> Values(std::string_view name) const {
        std::vector<std::string> values;
        for (const auto& option : given) {
            if (option.first == name) {
                values.push_back(option.second);
            }
        }
        return values;
    }
    // That of the last one; empty when there is none.
    std::string Value(std::string_view name) const {
        const auto last = std::find_if(given.rbegin(), given.rend(),
                                       [name](const auto& option) { return option.first == name; });
        return last == given.rend() ? "" : last->second;
    }

  private:
    std::vector<std::pair<std::string, std::string>> given;
};

// What a command was given.
struct Arguments {
    GivenOptions options;
    std::vector<std::string> operands;  // as many as its row allows
};

// The arguments of a command that are no options, such as a report's name.
struct Operands {
    std::string_view help;  // "NAME [JSON]"; empty: the command takes none
    std::size_t least = 0;
    std::size_t most = 0;
    Completes first = Completes::Nothing;
    Completes others = Completes::Nothing;  // those behind the first
};

struct Command {
    std::string_view name;            // one word, or that of its family and its own: "group show"
    std::string_view summary;         // one line
    std::string_view description;     // lines of the help, each with a line feed at its end
    std::string_view example;         // a command line that works as it stands
    std::span<const Option> options;  // beside those that every command takes
    Operands operands;
    // Writes its result to `output` and returns when it has succeeded. Otherwise throws a
    // std::exception whose text says what happened and what to do next, and has written nothing.
    void (*run)(const Arguments& arguments, std::ostream& output);
    // Instead of `run`, for a command whose result is its exit status, which this returns after it
    // has written the reason. Throws as `run` does when there is no result.
    int (*judge)(const Arguments& arguments, std::ostream& output) = nullptr;
    // The exit status of every failure, of a wrong command line too; 0: as for all others.
    int failureStatus = 0;
};

}  // namespace Ctl
