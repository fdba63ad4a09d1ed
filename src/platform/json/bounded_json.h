// Parses JSON from outside within bounds: checks size and nesting before it builds anything, and
// refuses with position and reason in plain words. The caller interprets the members.
#pragma once

#include <nlohmann/json_fwd.hpp>  // the one header of the library that headers may include

#include <cstddef>
#include <string>
#include <string_view>

namespace Json {

// The deepest accepted nesting: 256 containers inside each other are accepted, 257 refused.
inline constexpr std::size_t kMaxDepth = 256;

enum class Comments { Refused, Allowed };
enum class Root { AnyValue, Object };
// Whether members of one object may share a name (RFC 8259 section 4 allows it).
enum class EqualNames { LastWins, Refused };

struct ParseOptions {
    std::size_t maxBytes;                   // longer texts are refused unread
    Comments comments = Comments::Refused;  // "// to the end of the line" and "/* ... */"
    Root root = Root::AnyValue;             // what the whole text must be
    EqualNames equalNames = EqualNames::LastWins;
};

// The position and reason of a refusal.
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

// Parses `text` (RFC 8259; a leading UTF-8 byte order mark is skipped) into `document`. Also
// refuses NUL bytes anywhere, numbers beyond the range of a double, text after the value and, if
// `options` say so, equal names (compared unescaped, in objects at every depth; the text is then
// refused as a whole). On failure returns false, sets `error` and leaves `document` unchanged. Does
// not recurse.
[[nodiscard]] bool Parse(std::string_view text, const ParseOptions& options,
                         nlohmann::json& document, JsonError& error);

}  // namespace Json
