// The wire grammar of a body in the chunked transfer coding (RFC 9112 section 7.1), taken apart as
// its bytes arrive. Grammar only: when a body is in chunks, time limits and the answers to what is
// refused are left to the servers that use it.
//
//   *( SIZE ext CRLF  data CRLF )  1*"0" ext CRLF  *( name ":" OWS value OWS CRLF )  CRLF
//
//   SIZE = 1*HEXDIG, up to 2^63-1
//   ext = *( BWS ";" BWS name [ BWS "=" BWS ( token / quoted-string ) ] )
//
// Strict: lines end in CR LF only, and no blank stands before a size or before a line's end.
// Extensions and the fields of the trailer section are checked and dropped.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Http1 {

// Bounds of what is not data; beyond them a body is malformed.
//
// Digits of one size, leading zeros included.
inline constexpr std::size_t kMaxChunkSizeDigits = 16;
// Extensions of all chunks of a body together: small chunks with long extensions cost their reader
// much for little data.
inline constexpr std::size_t kMaxChunkExtensionBytes = 16384;
// The trailer section with its closing empty line, and its fields.
inline constexpr std::size_t kMaxTrailerBytes = 8192;
inline constexpr std::size_t kMaxTrailerFields = 100;

enum class ChunkScan {
    Incomplete,  // all bytes were taken, more must come
    Complete,    // the empty line after the trailer section was taken
    Malformed,   // the bytes are anything else than the grammar above, or beyond its bounds
    TooLong      // a size line announces more data than the body may have
};

// Reads each byte once and keeps none: memory is used by the caller's string alone. One body, one
// thread at a time.
class ChunkedDecoder {
  public:
    // The data of all chunks together may be `maxBodyBytes`.
    explicit ChunkedDecoder(std::size_t maxBodyBytes);

    // Takes the bytes of this body off the front of `received`, which follow those of the earlier
    // calls, and appends the data in them to `body`. After Complete, what is left of `received` is
    // the connection's next request. Results other than Incomplete are final: later calls take
    // nothing. After Malformed and TooLong nobody knows where a next request begins. Throws
    // std::bad_alloc when `body` cannot grow; the body is then lost.
    ChunkScan Decode(std::string_view& received, std::string& body);

  private:
    enum class State {
        Size,
        ExtensionStart,  // after ";"
        ExtensionName,
        BlankAfterName,
        ValueStart,  // after "="
        Value,
        QuotedValue,
        QuotedPair,  // after "\" in a quoted value
        QuotedValueEnd,
        BlankBeforeExtension,
        SizeLineFeed,
        Data,
        DataCarriageReturn,
        DataLineFeed,
        TrailerLineStart,
        TrailerName,
        TrailerValue,
        TrailerLineFeed,
        LastLineFeed
    };

    void TakeData(std::string_view& received, std::string& body);
    ChunkScan TakeByte(char byte);
    ChunkScan TakeSizeByte(char byte);
    ChunkScan TakeExtensionByte(char byte);
    ChunkScan EndExtension(char byte);
    ChunkScan BeginChunk();
    ChunkScan TakeTrailerByte(char byte);
    ChunkScan GoTo(State next);

    ChunkScan result = ChunkScan::Incomplete;
    State state = State::Size;
    std::size_t room;        // bytes of data that may still be announced
    std::uint64_t size = 0;  // of the size line being read, then what is missing of its data
    std::size_t digits = 0;  // of the size line being read
    std::size_t extensionBytes = 0;
    std::size_t trailerBytes = 0;
    std::size_t trailerFields = 0;
};

}  // namespace Http1
