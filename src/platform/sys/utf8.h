// Finds the boundaries of characters in UTF-8 text (Unicode, table 3-7).
#pragma once

#include <cstddef>
#include <string_view>

namespace Sys {

// Whether the byte is a second or later byte of a character.
constexpr bool IsUtf8Continuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// The length of the character at `offset`, which lies within the text: 1 to 4 bytes, or 0 if the
// bytes there are not well-formed.
std::size_t Utf8LengthAt(std::string_view text, std::size_t offset);

// Whether a terminal could execute the character, a well-formed one, or reorder others because of
// it: C0 and C1 controls and DEL; the line separators U+2028 and U+2029; the marks, embeddings,
// overrides and isolates of bidirectional text.
bool IsUnsafeToShow(std::string_view character);

// The longest prefix of `text` of at most `maxBytes` that does not end in a partial character.
std::string_view CutUtf8(std::string_view text, std::size_t maxBytes);

}  // namespace Sys
