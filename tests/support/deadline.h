// The one generous deadline under which tests wait for an event itself. It only ends what would
// hang: no test passes or fails by how fast the machine is.
#pragma once

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <string>

#include <poll.h>

namespace Test {

class Deadline {
  public:
    static constexpr std::chrono::seconds kPatience{30};

    explicit Deadline(std::chrono::seconds patience = kPatience)
        : end(std::chrono::steady_clock::now() + patience) {}

    // For poll: at least 0.
    int MillisecondsLeft() const {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
    }

    // Blocks until `descriptor` has one of `events` (or an error or hang-up, which the next call on
    // it tells). Throws std::runtime_error that names `awaited` when the deadline passes first.
    void Await(int descriptor, short events, const std::string& awaited) const {
        pollfd entry{descriptor, events, 0};
        while (::poll(&entry, 1, MillisecondsLeft()) <= 0) {
            if (MillisecondsLeft() == 0) {
                throw std::runtime_error("waited in vain for " + awaited);
            }
        }
    }

  private:
    const std::chrono::steady_clock::time_point end;
};

}  // namespace Test
