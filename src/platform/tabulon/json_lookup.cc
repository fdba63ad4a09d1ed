#include "platform/tabulon/json_lookup.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace Tabulon {

namespace {

constexpr std::int64_t kMinInt32 = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t kMaxInt32 = std::numeric_limits<std::int32_t>::max();

}  // namespace

nlohmann::json Merge(const nlohmann::json& vendor, const nlohmann::json& host) {
    nlohmann::json values = nlohmann::json::object();
    values.merge_patch(vendor);
    values.merge_patch(host);
    return values;
}

Place FollowKey(const nlohmann::json& document, std::string_view key) {
    const nlohmann::json* value = &document;
    for (std::size_t start = 0; start <= key.size();) {
        const std::size_t end = std::min(key.find('/', start), key.size());
        const auto member = value->find(key.substr(start, end - start));  // a scalar has no members
        if (member == value->end()) {
            return {value, key.substr(0, start == 0 ? 0 : start - 1), false};
        }
        value = &*member;
        start = end + 1;
    }
    return {value, key, true};
}

bool IsInt32(const nlohmann::json& value) {
    if (value.is_number_unsigned()) {
        return value.get<std::uint64_t>() <= std::uint64_t{kMaxInt32};
    }
    return value.is_number_integer() && value.get<std::int64_t>() >= kMinInt32 &&
           value.get<std::int64_t>() <= kMaxInt32;
}

std::string_view TypeName(const nlohmann::json& value) {
    if (value.is_number_integer()) {
        return IsInt32(value) ? "an integer" : "an integer outside 32 bits";
    }
    if (value.is_number()) {
        return "a number with a fraction or an exponent";
    }
    if (value.is_boolean()) {
        return "a boolean";
    }
    if (value.is_string()) {
        return "a string";
    }
    return value.is_array() ? "an array" : "an object";
}

}  // namespace Tabulon
