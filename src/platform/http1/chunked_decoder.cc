// A state machine that takes one byte at a time, except for data, which it takes in runs.
#include "platform/http1/chunked_decoder.h"

#include "platform/http1/byte_classes.h"

#include <algorithm>
#include <limits>

namespace Http1 {
namespace {

// Returns 0 to 15, or -1 for a byte that is not a hexadecimal digit.
int HexValue(char byte) {
    if (byte >= '0' && byte <= '9') return byte - '0';
    if (byte >= 'a' && byte <= 'f') return byte - 'a' + 10;
    if (byte >= 'A' && byte <= 'F') return byte - 'A' + 10;
    return -1;
}

}  // namespace

ChunkedDecoder::ChunkedDecoder(std::size_t maxBodyBytes) : room(maxBodyBytes) {}

ChunkScan ChunkedDecoder::Decode(std::string_view& received, std::string& body) {
    while (result == ChunkScan::Incomplete && !received.empty()) {
        if (state == State::Data) {
            TakeData(received, body);
        } else {
            result = TakeByte(received.front());
            received.remove_prefix(1);
        }
    }
    return result;
}

void ChunkedDecoder::TakeData(std::string_view& received, std::string& body) {
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(size, received.size()));
    body.append(received.substr(0, count));
    received.remove_prefix(count);
    size -= count;
    if (size == 0) state = State::DataCarriageReturn;
}

ChunkScan ChunkedDecoder::TakeByte(char byte) {
    switch (state) {
        case State::Size:
            return TakeSizeByte(byte);
        case State::SizeLineFeed:
            return byte == '\n' ? BeginChunk() : ChunkScan::Malformed;
        case State::DataCarriageReturn:
            return byte == '\r' ? GoTo(State::DataLineFeed) : ChunkScan::Malformed;
        case State::DataLineFeed:
            return byte == '\n' ? GoTo(State::Size) : ChunkScan::Malformed;
        case State::TrailerLineStart:
        case State::TrailerName:
        case State::TrailerValue:
        case State::TrailerLineFeed:
        case State::LastLineFeed:
            return TakeTrailerByte(byte);
        default:
            return TakeExtensionByte(byte);
    }
}

ChunkScan ChunkedDecoder::TakeSizeByte(char byte) {
    const int digit = HexValue(byte);
    if (digit < 0) return digits > 0 ? TakeExtensionByte(byte) : ChunkScan::Malformed;
    if (digits == kMaxChunkSizeDigits) return ChunkScan::Malformed;
    ++digits;
    size = size << 4 | static_cast<std::uint64_t>(digit);  // 16 digits fit exactly
    return ChunkScan::Incomplete;
}

ChunkScan ChunkedDecoder::TakeExtensionByte(char byte) {
    const bool endsLine = byte == '\r';  // any other byte is malformed here
    if (!endsLine && ++extensionBytes > kMaxChunkExtensionBytes) return ChunkScan::Malformed;
    switch (state) {
        case State::ExtensionStart:
            if (IsBlank(byte)) return ChunkScan::Incomplete;
            return IsOf(kTokenByte, byte) ? GoTo(State::ExtensionName) : ChunkScan::Malformed;
        case State::ExtensionName:
            if (IsOf(kTokenByte, byte)) return ChunkScan::Incomplete;
            if (byte == '=') return GoTo(State::ValueStart);
            return IsBlank(byte) ? GoTo(State::BlankAfterName) : EndExtension(byte);
        case State::BlankAfterName:
            if (IsBlank(byte)) return ChunkScan::Incomplete;
            if (byte == '=') return GoTo(State::ValueStart);
            return byte == ';' ? GoTo(State::ExtensionStart) : ChunkScan::Malformed;
        case State::ValueStart:
            if (IsBlank(byte)) return ChunkScan::Incomplete;
            if (byte == '"') return GoTo(State::QuotedValue);
            return IsOf(kTokenByte, byte) ? GoTo(State::Value) : ChunkScan::Malformed;
        case State::Value:
            return IsOf(kTokenByte, byte) ? ChunkScan::Incomplete : EndExtension(byte);
        case State::QuotedValue:
            if (byte == '"') return GoTo(State::QuotedValueEnd);
            if (byte == '\\') return GoTo(State::QuotedPair);
            return IsOf(kTextByte, byte) ? ChunkScan::Incomplete : ChunkScan::Malformed;
        case State::QuotedPair:
            return IsOf(kTextByte, byte) ? GoTo(State::QuotedValue) : ChunkScan::Malformed;
        case State::Size:
        case State::QuotedValueEnd:
            return EndExtension(byte);
        default:  // BlankBeforeExtension
            if (IsBlank(byte)) return ChunkScan::Incomplete;
            return byte == ';' ? GoTo(State::ExtensionStart) : ChunkScan::Malformed;
    }
}

// `byte` follows a size or a complete extension.
ChunkScan ChunkedDecoder::EndExtension(char byte) {
    if (byte == '\r') return GoTo(State::SizeLineFeed);
    if (byte == ';') return GoTo(State::ExtensionStart);
    return IsBlank(byte) ? GoTo(State::BlankBeforeExtension) : ChunkScan::Malformed;
}

ChunkScan ChunkedDecoder::BeginChunk() {
    digits = 0;
    if (size == 0) return GoTo(State::TrailerLineStart);
    if (size > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        return ChunkScan::Malformed;
    }
    if (size > room) return ChunkScan::TooLong;
    room -= static_cast<std::size_t>(size);
    return GoTo(State::Data);
}

ChunkScan ChunkedDecoder::TakeTrailerByte(char byte) {
    if (++trailerBytes > kMaxTrailerBytes) return ChunkScan::Malformed;
    switch (state) {
        case State::TrailerLineStart:
            if (byte == '\r') return GoTo(State::LastLineFeed);
            if (!IsOf(kTokenByte, byte) || ++trailerFields > kMaxTrailerFields) {
                return ChunkScan::Malformed;
            }
            return GoTo(State::TrailerName);
        case State::TrailerName:
            if (IsOf(kTokenByte, byte)) return ChunkScan::Incomplete;
            return byte == ':' ? GoTo(State::TrailerValue) : ChunkScan::Malformed;
        case State::TrailerValue:
            if (IsOf(kTextByte, byte)) return ChunkScan::Incomplete;
            return byte == '\r' ? GoTo(State::TrailerLineFeed) : ChunkScan::Malformed;
        case State::TrailerLineFeed:
            return byte == '\n' ? GoTo(State::TrailerLineStart) : ChunkScan::Malformed;
        default:  // LastLineFeed
            return byte == '\n' ? ChunkScan::Complete : ChunkScan::Malformed;
    }
}

ChunkScan ChunkedDecoder::GoTo(State next) {
    state = next;
    return ChunkScan::Incomplete;
}

}  // namespace Http1
