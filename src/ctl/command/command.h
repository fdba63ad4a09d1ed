// A sub-command of sentrelctl: a row of a table, from which the command line is parsed and the help
// is written. Each family of sub-commands has a file with its rows; main.cc joins them.
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

// What a shell completes for an operand or an option's value.
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
    std::string_view value;    // its value's name in the help, such as "DIR"; empty: no value
    std::string_view summary;  // one line
    Completes completes = Completes::Nothing;  // what its value is
    std::span<const char* const> words{};      // all values, if they are few
    bool isList = false;                       // several of them, separated by commas
    bool isRequired = false;                   // for the help; the command itself checks
};

// The option of every command that can print JSON.
inline constexpr Option kJsonOption = {"--json", "", "print one line of JSON instead"};

// The options of a command line in the order given, with their values (empty for options without
// one).
class GivenOptions {
  public:
    void Add(std::string_view name, std::string value) {
        given.emplace_back(name, std::move(value));
    }
    bool Has(std::string_view name) const {
        return std::any_of(given.begin(), given.end(),
                           [name](const auto& option) { return option.first == name; });
    }
    // The values of an option that may be given several times, in the order given.
    std::vector<std::string> Values(std::string_view name) const {
        std::vector<std::string> values;
        for (const auto& option : given) {
            if (option.first == name) {
                values.push_back(option.second);
            }
        }
        return values;
    }
    // The value of the option's last occurrence; empty without one.
    std::string Value(std::string_view name) const {
        const auto last = std::find_if(given.rbegin(), given.rend(),
                                       [name](const auto& option) { return option.first == name; });
        return last == given.rend() ? "" : last->second;
    }

  private:
    std::vector<std::pair<std::string, std::string>> given;
};

// The arguments of one run of a command.
struct Arguments {
    GivenOptions options;
    std::vector<std::string> operands;  // as many as its row allows
};

// The arguments of a command that are not options, such as a report's name.
struct Operands {
    std::string_view help;  // "NAME [JSON]"; empty: the command takes none
    std::size_t least = 0;
    std::size_t most = 0;
    Completes first = Completes::Nothing;
    Completes others = Completes::Nothing;  // what the operands after the first are
};

struct Command {
    std::string_view name;            // one word, or family and own word: "group show"
    std::string_view summary;         // one line
    std::string_view description;     // lines of the help, each with a line feed at its end
    std::string_view example;         // a command line that works as it stands
    std::span<const Option> options;  // in addition to those of every command
    Operands operands;
    // Writes its result to `output`. On failure throws a std::exception whose text says what
    // happened and what to do next; nothing is written then.
    void (*run)(const Arguments& arguments, std::ostream& output);
    // Used instead of `run` by a command whose result is its exit status: writes the reason and
    // returns the status. Throws like `run` if there is no result.
    int (*judge)(const Arguments& arguments, std::ostream& output) = nullptr;
    // The exit status of every failure, including a wrong command line; 0: the usual ones.
    int failureStatus = 0;
};

}  // namespace Ctl
