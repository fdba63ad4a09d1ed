// JSON from outside, parsed within bounds: bytes and nesting are checked before anything is built,
// and a refusal says where and why in plain words. What the members mean is the caller's business.
#pragma once

#include <nlohmann/json_fwd.hpp>  // the one header of the library that headers may include

#include <cstddef>
#include <string>
#include <string_view>

namespace Json {

// Containers inside each other that are accepted: 256 are, 257 are refused.
inline constexpr std::size_t kMaxDepth = 256;

enum class Comments { Refused, Allowed };
enum class Root { AnyValue, Object };
// Whether the members of one object may share a name (RFC 8259, section 4, leaves it open).
enum class EqualNames { LastWins, Refused };

struct ParseOptions {
    std::size_t maxBytes;                   // longer texts are refused unread
    Comments comments = Comments::Refused;  // "// to the end of the line" and "/* ... */"
    Root root = Root::AnyValue;             // what the whole text must be
    EqualNames equalNames = EqualNames::LastWins;
};

// Where and why a text was refused.
struct JsonError {
    std::size_t line = 0;  // counted from 1; 0 when the text as a whole is refused
    std::size_t column =
        0;  // characters (UTF-8 sequences) of that line, counted from 1; 0 as above
    // One short line each, without control characters.
    std::string reason = {};
    std::string advice = {};  // what to write instead; often empty

    // "reason; advice", or the reason alone.
    std::string Text() const { return advice.empty() ? reason : reason + "; " + advice; }
};

// Parses `text` (RFC 8259; a UTF-8 byte order mark before it is skipped) into `document`. Refused
// besides what is no JSON: NUL bytes anywhere, numbers beyond the range of a double, text after the
// value, and equal names where they are not wanted (names are compared unescaped, objects at every
// depth; the text is then refused as a whole). False on failure: `error` is set and `document` is
// unchanged. Does not recurse.
[[nodiscard]] bool Parse(std::string_view text, const ParseOptions& options,
                         nlohmann::json& document, JsonError& error);

}  // namespace Json
