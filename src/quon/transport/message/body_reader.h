// Assembles a request body from the bytes that arrive. The connection receives them and limits the
// time.
#pragma once

#include "platform/http1/chunked_decoder.h"
#include "quon/transport/message/request_facts.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace Quon::Transport::PicoHttp {

// One body. Its memory grows with the bytes that arrive, not with the declared length.
class BodyReader {
  public:
    BodyReader(const RequestFacts& facts, std::size_t maxBytes);

    enum class Progress { NeedsMore, Complete, Failed };

    // Consumes the bytes of this body from the front of `received`: all of them if it needs more.
    // Throws std::bad_alloc.
    Progress Take(std::string_view& received);

    // Whether to receive anything at all: not for an empty body, nor for one whose declared length
    // is too large. Call it before the first Take.
    bool WantsBytes() const { return isChunked || (missing > 0 && !Error()); }
    // Why it has failed, or will fail.
    const std::error_code& Error() const { return error; }

    std::size_t Size() const { return body.size(); }
    // Its memory in bytes.
    std::size_t HeldBytes() const { return body.capacity(); }
    // Moves the complete body out. Call it once.
    std::string Release() { return std::move(body); }

  private:
    Progress TakeChunks(std::string_view& received);

    const bool isChunked;
    std::uint64_t missing;
    Http1::ChunkedDecoder decoder;
    std::error_code error;
    std::string body;
};

}  // namespace Quon::Transport::PicoHttp
