// Owner of one file descriptor. Descriptors are borrowed as `int` arguments and owned as OwnedFd.
#pragma once

#include <utility>

#include <unistd.h>

namespace Sys {

// Move-only; empty by default. Closing reports nothing: whoever must know whether a close succeeded
// (a writer) takes the descriptor with Release and closes it.
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
    // Gives the descriptor up without closing it; -1 when there is none.
    int Release() { return std::exchange(descriptor, -1); }
    // Closes what is held and takes `next`.
    void Reset(int next = -1) {
        if (descriptor >= 0) {
            (void)::close(descriptor);  // the descriptor is gone whatever close says
        }
        descriptor = next;
    }

  private:
    int descriptor = -1;
};

}  // namespace Sys
