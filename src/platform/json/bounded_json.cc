#include "platform/json/bounded_json.h"

#include "platform/json/json_scanner.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace Json {

namespace {

// Parses a text that FindFault accepted and watches for equal names in each open object.
class NameWatch {
  public:
    nlohmann::json Parse(std::string_view text, const ParseOptions& options) {
        using nlohmann::json;
        const auto watch = [this](int, json::parse_event_t event, const json& parsed) {
            if (event == json::parse_event_t::object_start) {
                openNames.emplace_back();
            } else if (event == json::parse_event_t::object_end) {
                openNames.pop_back();
            } else if (event == json::parse_event_t::key) {
                const auto [name, isNew] = openNames.back().insert(parsed.get<std::string>());
                if (!isNew && !repeated) {
                    repeated = *name;
                }
            }
            return true;
        };
        const auto callback = options.equalNames == EqualNames::Refused
                                  ? json::parser_callback_t(watch)
                                  : json::parser_callback_t();
        constexpr bool kThrows = false;
        return json::parse(text, callback, kThrows, options.comments == Comments::Allowed);
    }
    // The first name that an object has twice.
    const std::optional<std::string>& Repeated() const { return repeated; }

  private:
    std::vector<std::unordered_set<std::string>> openNames;
    std::optional<std::string> repeated;
};

// " (\"name\")"; nothing for a name that a line of text cannot hold.
std::string Shown(const std::string& name) {
    constexpr std::size_t kMaxShown = 64;
    const bool isPlain =
        name.size() <= kMaxShown &&
        std::all_of(name.begin(), name.end(), [](char c) { return c >= ' ' && c <= '~'; });
    return isPlain ? " (\"" + name + "\")" : "";
}

}  // namespace

bool Parse(std::string_view text, const ParseOptions& options, nlohmann::json& document,
           JsonError& error) {
    if (text.size() > options.maxBytes) {
        error = {0, 0, "longer than " + std::to_string(options.maxBytes) + " bytes"};
        return false;
    }
    if (std::optional<Fault> fault = FindFault(text, options.comments, options.root)) {
        error = Locate(text, std::move(*fault));
        return false;
    }
    NameWatch names;
    nlohmann::json parsed = names.Parse(text, options);
    if (const auto& name = names.Repeated()) {
        error = {0, 0, "an object has two members with the same name" + Shown(*name)};
        return false;
    }
    if (parsed.is_discarded()) {
        // The scanner and the library agree (the fuzz target compares them). Should they ever
        // differ, the stricter verdict holds.
        error = {0, 0, "not JSON"};
        return false;
    }
    document = std::move(parsed);
    return true;
}

}  // namespace Json
