// Decodes a body in the chunked transfer coding (RFC 9112 section 7.1) as its bytes arrive. Only
// the grammar is here: the servers that use it decide when a body is chunked, how long they wait
// and how they answer a refused body.
//
//   *( SIZE ext CRLF  data CRLF )  1*"0" ext CRLF  *( name ":" OWS value OWS CRLF )  CRLF
//
//   SIZE = 1*HEXDIG, up to 2^63-1
//   ext = *( BWS ";" BWS name [ BWS "=" BWS ( token / quoted-string ) ] )
//
// Strict: lines end in CR LF only, and no blank precedes a size or a line's end. Extensions and
// trailer fields are checked and dropped.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Http1 {

// Bounds on everything but the data; a body beyond them is malformed.
//
// Digits of one size, including leading zeros.
inline constexpr std::size_t kMaxChunkSizeDigits = 16;
// Bytes of the extensions of all chunks of a body together: small chunks with long extensions cost
// the reader much for little data.
inline constexpr std::size_t kMaxChunkExtensionBytes = 16384;
// Bytes of the trailer section including its closing empty line, and the number of its fields.
inline constexpr std::size_t kMaxTrailerBytes = 8192;
inline constexpr std::size_t kMaxTrailerFields = 100;

enum class ChunkScan {
    Incomplete,  // all bytes were consumed, and more are needed
    Complete,    // the empty line after the trailer section was consumed
    Malformed,   // the bytes violate the grammar above or its bounds
    TooLong      // a size line announces more data than the body may have
};

// Reads each byte once and keeps none: only the caller's string uses memory. For one body, by one
// thread at a time.
class ChunkedDecoder {
  public:
    // The data of all chunks together may take up to `maxBodyBytes`.
    explicit ChunkedDecoder(std::size_t maxBodyBytes);

    // Consumes this body's bytes from the front of `received`, which continues where the previous
    // call's bytes ended, and appends their data to `body`. After Complete, the rest of `received`
    // is the connection's next request. Results other than Incomplete are final: later calls
    // consume nothing. After Malformed and TooLong the start of the next request is unknown. Throws
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
    std::size_t room;        // bytes of data that chunks may still announce
    std::uint64_t size = 0;  // the size being read, then the bytes of its data still missing
    std::size_t digits = 0;  // digits read of that size
    std::size_t extensionBytes = 0;
    std::size_t trailerBytes = 0;
    std::size_t trailerFields = 0;
};

}  // namespace Http1
