// Extracts from a request head what the server uses: the framing of the body, the formats, the
// token. responses.h composes the responses.
#pragma once

#include "platform/http1/request_head.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace Quon::Transport::PicoHttp {

// Media types as bits.
inline constexpr unsigned kJson = 1;
inline constexpr unsigned kCleanJson = 2;
inline constexpr unsigned kFramed = 4;
inline constexpr unsigned kFramedCleanJson = 8;
inline constexpr unsigned kStreamJson = 16;
inline constexpr unsigned kCleanStreamJson = 32;

// The bits of all media types whose names occur anywhere in `value`; case-sensitive.
unsigned MediaTypeBits(std::string_view value);
// The media type of a single bit.
std::string_view MediaTypeName(unsigned bit);

enum class Expectation { None, Continue, Unknown };

// A field that was sent several times counts as one value, joined with ", ".
struct RequestFacts {
    std::optional<std::uint64_t> contentLength;  // as declared
    // The framing of the body: in chunks, or of this length in bytes.
    bool bodyIsChunked = false;
    std::uint64_t bodyLength = 0;
    // Whether the connection serves another request: the client keeps it open, and the start of the
    // next request is unambiguous.
    bool keepAlive = true;
    Expectation expectation = Expectation::None;
    bool hasForeignOrigin = false;  // a browser sent it for a page of another host
    std::string contentType;        // as sent
    unsigned requestFormats = 0;    // media type bits of the content type
    unsigned responseFormat = kJson;
    // Unset without an Authorization field. Empty, hence invalid, if the request has anything other
    // than one field "Bearer <token>": such a call is not anonymous and must be refused.
    std::optional<std::string> token;
};

// Fills `facts`, which must be new. Returns an error (InvalidRequest) if a content length is not a
// 64-bit number, or two of them differ.
std::error_code ReadRequestFacts(const Http1::RequestHead& head, RequestFacts& facts);

// The head for logs: each value of a credential field (Authorization, Proxy-Authorization, Cookie)
// is replaced by its length.
std::string LoggableHead(const Http1::RequestHead& head);

}  // namespace Quon::Transport::PicoHttp
