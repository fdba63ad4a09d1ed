// The tokens of JSON that have an inner grammar: strings, numbers and literals (RFC 8259, sections
// 3, 6 and 7), checked where they stand. Their order in the text is json_scanner's business.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Json {

// Why a text is no JSON, in words for a person.
struct Fault {
    std::size_t offset = 0;  // of the byte at fault, at most the text's size
    std::string reason;
    std::string advice = {};  // what to write instead; often empty
};

// Each call starts at the token's first byte and moves `offset` behind the token. On a fault, which
// is returned, `offset` has no meaning any more.

// `text[offset]` is '"'. Escapes, surrogate pairs and UTF-8 are checked.
std::optional<Fault> TakeString(std::string_view text, std::size_t& offset);

// `text[offset]` is '-' or a digit. A number that no double can hold is a fault.
std::optional<Fault> TakeNumber(std::string_view text, std::size_t& offset);

// False, with `offset` unchanged, when neither true, false nor null stands at `offset`.
bool TakeLiteral(std::string_view text, std::size_t& offset);

// What stands at `offset`, for a message: a word, a character in quotes, or a byte's value.
std::string DescribeToken(std::string_view text, std::size_t offset);

// The code unit of "\uXXXX" at `offset`, or nothing when none stands there.
std::optional<unsigned> CodeUnitAt(std::string_view text, std::size_t offset);

inline bool IsDigit(char byte) { return byte >= '0' && byte <= '9'; }

}  // namespace Json
