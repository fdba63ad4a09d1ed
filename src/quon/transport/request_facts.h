// What the server takes from a request head: how the body is framed, what is accepted and wanted,
// the token. How the answers look is responses.h.
#pragma once

#include "platform/http1/request_head.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace Quon::Transport::PicoHttp {

// Media types, as bits.
inline constexpr unsigned kJson = 1;
inline constexpr unsigned kCleanJson = 2;
inline constexpr unsigned kFramed = 4;
inline constexpr unsigned kFramedCleanJson = 8;
inline constexpr unsigned kStreamJson = 16;
inline constexpr unsigned kCleanStreamJson = 32;

// The bits of all media types whose names stand somewhere in `value`; case matters.
unsigned MediaTypeBits(std::string_view value);
// The media type of one bit.
std::string_view MediaTypeName(unsigned bit);

enum class Expectation { None, Continue, Unknown };

// Fields that were sent several times count as one value, joined with ", ".
struct RequestFacts {
    std::optional<std::uint64_t> contentLength;  // as declared
    // How the body is framed: in chunks, or this many bytes.
    bool bodyIsChunked = false;
    std::uint64_t bodyLength = 0;
    // Whether the connection serves another request: the client does not close it, and nobody can
    // be mistaken about where the next request begins.
    bool keepAlive = true;
    Expectation expectation = Expectation::None;
    bool hasForeignOrigin = false;  // a browser sent it for a page of another host
    std::string contentType;        // as sent
    unsigned requestFormats = 0;    // media type bits of the content type
    unsigned responseFormat = kJson;
    // Nothing when no Authorization field was sent. Empty, which is no token, when what was sent is
    // anything but one field "Bearer <token>": such a call is not anonymous, it must be refused.
    std::optional<std::string> token;
};

// Fills `facts`, which are new. An error (InvalidRequest) when a content length is not a number of
// 64 bits, or when two of them differ.
std::error_code ReadRequestFacts(const Http1::RequestHead& head, RequestFacts& facts);

// The head as a log may hold it: each value of a field for credentials (Authorization,
// Proxy-Authorization, Cookie) is replaced by its length.
std::string LoggableHead(const Http1::RequestHead& head);

}  // namespace Quon::Transport::PicoHttp
