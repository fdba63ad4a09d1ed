#include "platform/json/bounded_json.h"

#include "platform/json/json_scanner.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace Json {

namespace {

bool IsUtf8Continuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

JsonError ErrorAt(std::string_view text, Fault fault) {
    const std::string_view before = text.substr(0, fault.offset);
    const std::size_t lineStart = before.rfind('\n') + 1;  // npos + 1 is 0: the first line
    const std::string_view line = before.substr(lineStart);
    const auto lines = std::count(before.begin(), before.end(), '\n');
    const auto continuations = std::count_if(line.begin(), line.end(), IsUtf8Continuation);
    return {static_cast<std::size_t>(lines) + 1,
            line.size() - static_cast<std::size_t>(continuations) + 1, std::move(fault.reason)};
}

}  // namespace

bool Parse(std::string_view text, const ParseOptions& options, nlohmann::json& document,
           JsonError& error) {
    if (text.size() > options.maxBytes) {
        error = {0, 0, "longer than " + std::to_string(options.maxBytes) + " bytes"};
        return false;
    }
    if (std::optional<Fault> fault = FindFault(text, options.comments, options.root)) {
        error = ErrorAt(text, std::move(*fault));
        return false;
    }
    constexpr bool kThrows = false;
    nlohmann::json parsed =
        nlohmann::json::parse(text, nullptr, kThrows, options.comments == Comments::Allowed);
    if (parsed.is_discarded()) {
        // The scanner and the library judge alike (the fuzz target compares them). Should they ever
        // differ, the stricter one holds.
        error = {0, 0, "not JSON"};
        return false;
    }
    document = std::move(parsed);
    return true;
}

}  // namespace Json
