// The bytes received on a connection and not used yet.
#pragma once

#include "quon/transport/message/limits.h"

#include <cstddef>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>

namespace Quon::Transport::PicoHttp {

// Its size is the maximum size of a head.
class InputBuffer {
  public:
    std::string_view Unread() const { return {bytes.get() + begin, end - begin}; }
    void Consume(std::size_t count) { begin += count; }
    void Clear() { begin = end = 0; }

    // The free part for receiving; empty if the whole buffer is unread. Moves the unread bytes to
    // the front.
    std::span<char> Room() {
        std::memmove(bytes.get(), bytes.get() + begin, end - begin);
        end -= begin;
        begin = 0;
        return {bytes.get() + end, kMaxHeadBytes - end};
    }
    // Marks `count` bytes of Room as received.
    void Add(std::size_t count) { end += count; }

  private:
    const std::unique_ptr<char[]> bytes = std::make_unique_for_overwrite<char[]>(kMaxHeadBytes);
    std::size_t begin = 0;
    std::size_t end = 0;
};

}  // namespace Quon::Transport::PicoHttp
