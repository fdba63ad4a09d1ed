// Where the characters of a UTF-8 text begin and end (Unicode, table 3-7).
#pragma once

#include <cstddef>
#include <string_view>

namespace Sys {

// Whether the byte is a second or later byte of a character.
constexpr bool IsUtf8Continuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// The length of the character at `offset`, which is within the text: 1 to 4 bytes; 0 when the bytes
// there are not well-formed.
std::size_t Utf8LengthAt(std::string_view text, std::size_t offset);

// Whether a terminal could take the character, a well-formed one, for a command or show other
// characters in another order because of it: C0 and C1 controls and DEL; U+2028 and U+2029, which
// separate lines; the marks, embeddings, overrides and isolates of the direction of writing.
bool IsUnsafeToShow(std::string_view character);

// The start of `text`, `maxBytes` at most, without a part of a character at its end.
std::string_view CutUtf8(std::string_view text, std::size_t maxBytes);

}  // namespace Sys
