#include "platform/sys/utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace Sys {

namespace {

// The well-formed sequences by lead byte: the range of the second byte, which varies, and the
// length.
struct Row {
    std::uint8_t firstLead;
    std::uint8_t lastLead;
    std::uint8_t secondLow;
    std::uint8_t secondHigh;
    std::size_t length;
};

constexpr std::array<Row, 8> kRows = {{{0xC2, 0xDF, 0x80, 0xBF, 2},
                                       {0xE0, 0xE0, 0xA0, 0xBF, 3},
                                       {0xE1, 0xEC, 0x80, 0xBF, 3},
                                       {0xED, 0xED, 0x80, 0x9F, 3},
                                       {0xEE, 0xEF, 0x80, 0xBF, 3},
                                       {0xF0, 0xF0, 0x90, 0xBF, 4},
                                       {0xF1, 0xF3, 0x80, 0xBF, 4},
                                       {0xF4, 0xF4, 0x80, 0x8F, 4}}};

}  // namespace

std::size_t Utf8LengthAt(std::string_view text, std::size_t offset) {
    const auto byteAt = [text](std::size_t at) { return static_cast<std::uint8_t>(text[at]); };
    const std::uint8_t lead = byteAt(offset);
    if (lead < 0x80) {
        return 1;
    }
    const auto row = std::find_if(kRows.begin(), kRows.end(), [lead](const Row& candidate) {
        return lead >= candidate.firstLead && lead <= candidate.lastLead;
    });
    if (row == kRows.end() || text.size() - offset < row->length ||
        byteAt(offset + 1) < row->secondLow || byteAt(offset + 1) > row->secondHigh) {
        return 0;
    }
    const std::string_view others = text.substr(offset + 2, row->length - 2);
    return std::all_of(others.begin(), others.end(), IsUtf8Continuation) ? row->length : 0;
}

bool IsUnsafeToShow(std::string_view character) {
    if (character.size() == 1) {
        const auto byte = static_cast<std::uint8_t>(character[0]);
        return byte < 0x20 || byte == 0x7F;
    }
    const auto isWithin = [character](std::string_view first, std::string_view last) {
        return character >= first && character <= last;  // UTF-8 preserves the order of code points
    };
    return isWithin("\u0080", "\u009F") || character == "\u061C" || isWithin("\u200E", "\u200F") ||
           isWithin("\u2028", "\u202E") || isWithin("\u2066", "\u2069");
}

std::string_view CutUtf8(std::string_view text, std::size_t maxBytes) {
    if (text.size() <= maxBytes) {
        return text;
    }
    constexpr std::size_t kMaxContinuations = 3;  // of one character; more is not UTF-8
    std::size_t end = maxBytes;
    while (end > 0 && maxBytes - end < kMaxContinuations && IsUtf8Continuation(text[end])) {
        --end;
    }
    return text.substr(0, end);
}

}  // namespace Sys
