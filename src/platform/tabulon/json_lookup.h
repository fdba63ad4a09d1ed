// What the documents of an entry mean: how the host's goes over the vendor's, where a key leads,
// what the types of values are called in messages.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string_view>

namespace Tabulon {

// `vendor` with `host` over it, both objects, as JSON merge patches (RFC 7396) of nothing: a null
// removes its member in either.
nlohmann::json Merge(const nlohmann::json& vendor, const nlohmann::json& host);

// How far a key leads into a document.
struct Place {
    const nlohmann::json* value;  // the last value on the key's way; never null
    std::string_view path;        // the part of the key that leads to it
    bool isWhole;                 // whether that is the whole key
};

// A "/" of the key separates levels. The result refers to both arguments.
Place FollowKey(const nlohmann::json& document, std::string_view key);

// Whether it is a number without fraction and exponent that fits 32 bits with a sign.
bool IsInt32(const nlohmann::json& value);

// With its article, such as "an integer outside 32 bits".
std::string_view TypeName(const nlohmann::json& value);

}  // namespace Tabulon
