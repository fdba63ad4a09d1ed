// A request body as it is put together from the bytes that arrive. Where these come from, and for
// how long, is the connection's business.
#pragma once

#include "platform/http1/chunked_decoder.h"
#include "quon/transport/request_facts.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace Quon::Transport::PicoHttp {

// One body. Grows with what arrived; what a head declares takes no memory.
class BodyReader {
  public:
    BodyReader(const RequestFacts& facts, std::size_t maxBytes);

    enum class Progress { NeedsMore, Complete, Failed };

    // Takes the bytes of this body off the front of `received`: all of them when it needs more.
    // Throws std::bad_alloc.
    Progress Take(std::string_view& received);

    // Whether bytes of the client are wanted at all: not of an empty body or one that is too long
    // by its own word. Before the first Take.
    bool WantsBytes() const { return isChunked || (missing > 0 && !Error()); }
    // Why it failed, or is going to.
    const std::error_code& Error() const { return error; }

    std::size_t Size() const { return body.size(); }
    // The memory it holds, in bytes.
    std::size_t HeldBytes() const { return body.capacity(); }
    // The body; to be called once, at its end.
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
