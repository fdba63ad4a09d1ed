// Looks up values in the documents of an entry: merges the host's over the vendor's, follows a key,
// and names value types for messages.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string_view>

namespace Tabulon {

// Applies `vendor`, then `host`, both objects, as JSON merge patches (RFC 7396) to an empty object:
// a null in either removes its member.
nlohmann::json Merge(const nlohmann::json& vendor, const nlohmann::json& host);

// How far a key leads into a document.
struct Place {
    const nlohmann::json* value;  // the last value reached; never null
    std::string_view path;        // the part of the key that leads to it
    bool isWhole;                 // whether that is the whole key
};

// "/" separates the levels of the key. The result refers to both arguments.
Place FollowKey(const nlohmann::json& document, std::string_view key);

// Whether `value` is a number without fraction and exponent that fits a signed 32-bit integer.
bool IsInt32(const nlohmann::json& value);

// The type with its article, such as "an integer outside 32 bits".
std::string_view TypeName(const nlohmann::json& value);

}  // namespace Tabulon
