// Checks the JSON tokens with an inner grammar: strings, numbers and literals (RFC 8259 sections 3,
// 6 and 7). json_scanner checks their order.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Json {

// Why a text is not JSON, described to a person.
struct Fault {
    std::size_t offset = 0;  // of the offending byte, at most the text's size
    std::string reason;
    std::string advice = {};  // what to write instead; often empty
};

// Each call starts at the token's first byte and moves `offset` past the token. When it returns a
// fault, `offset` is meaningless.

// `text[offset]` is '"'. Checks escapes, surrogate pairs and UTF-8.
std::optional<Fault> TakeString(std::string_view text, std::size_t& offset);

// `text[offset]` is '-' or a digit. A number beyond the range of a double is a fault.
std::optional<Fault> TakeNumber(std::string_view text, std::size_t& offset);

// Returns false and leaves `offset` unchanged unless true, false or null starts at `offset`.
bool TakeLiteral(std::string_view text, std::size_t& offset);

// Describes the token at `offset` for a message: a word, a character in quotes, or a byte's value.
std::string DescribeToken(std::string_view text, std::size_t offset);

// The code unit of the escape "\uXXXX" at `offset`; nothing if there is no such escape.
std::optional<unsigned> CodeUnitAt(std::string_view text, std::size_t offset);

inline bool IsDigit(char byte) { return byte >= '0' && byte <= '9'; }

}  // namespace Json
