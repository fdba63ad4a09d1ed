// Parses the command line of the benchmark programs: pairs "--name value", read by name.
#pragma once

#include <charconv>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Bench {

class CommandLine {
  public:
    // Throws std::invalid_argument if the arguments are not pairs "--name value".
    CommandLine(int count, char** arguments) {
        for (int position = 1; position < count; position += 2) {
            const std::string_view name = arguments[position];
            if (name.substr(0, 2) != "--" || position + 1 == count) {
                throw std::invalid_argument("\"" + std::string(name) +
                                            "\" is no option with a value; write --name value");
            }
            values.insert_or_assign(std::string(name.substr(2)), arguments[position + 1]);
        }
    }

    // The value of --name, or `fallback` if absent. Take each name only once.
    std::string TakeText(const std::string& name, std::string fallback) {
        const auto found = values.find(name);
        if (found == values.end()) {
            return fallback;
        }
        std::string value = std::move(found->second);
        values.erase(found);
        return value;
    }

    // The same for a whole number from 0. Throws std::invalid_argument for any other value.
    std::uint64_t TakeNumber(const std::string& name, std::uint64_t fallback) {
        const std::string text = TakeText(name, std::to_string(fallback));
        std::uint64_t number = 0;
        const char* const end = text.data() + text.size();
        const auto [stop, error] = std::from_chars(text.data(), end, number);
        if (error != std::errc{} || stop != end) {
            throw std::invalid_argument("--" + name + " takes a whole number, not \"" + text +
                                        "\"");
        }
        return number;
    }

    // Call it after taking all known names. Throws std::invalid_argument if others are left.
    void RefuseOthers() const {
        if (!values.empty()) {
            throw std::invalid_argument("there is no option --" + values.begin()->first);
        }
    }

  private:
    std::map<std::string, std::string> values;
};

}  // namespace Bench
