// Owns a file descriptor. Functions borrow descriptors as `int` and own them as OwnedFd.
#pragma once

#include <utility>

#include <unistd.h>

namespace Sys {

// Move-only; empty by default. Ignores errors of close: a writer that must know of them takes the
// descriptor with Release and closes it.
class OwnedFd {
  public:
    OwnedFd() = default;
    explicit OwnedFd(int descriptor) : descriptor(descriptor) {}
    OwnedFd(OwnedFd&& other) noexcept : descriptor(other.Release()) {}
    OwnedFd& operator=(OwnedFd&& other) noexcept {
        Reset(other.Release());
        return *this;
    }
    ~OwnedFd() { Reset(); }

    int Get() const { return descriptor; }
    bool IsOpen() const { return descriptor >= 0; }
    // Returns the descriptor and gives up ownership; -1 when empty.
    int Release() { return std::exchange(descriptor, -1); }
    // Closes the held descriptor and takes `next`.
    void Reset(int next = -1) {
        if (descriptor >= 0) {
            (void)::close(descriptor);  // the descriptor is closed whatever close returns
        }
        descriptor = next;
    }

  private:
    int descriptor = -1;
};

}  // namespace Sys
