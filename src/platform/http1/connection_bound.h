// Which connection gives way when as many are open as may be and another client connects.
#pragma once

#include <chrono>

namespace Http1 {

// A client that was answered within this time is about to ask again.
inline constexpr std::chrono::seconds kRecentAnswer{1};

// What the bound looks at of a connection that waits for its client.
struct WaitingConnection {
    using TimePoint = std::chrono::steady_clock::time_point;

    // A whole request has been read from it at some time.
    bool hasSentRequest = false;
    // Its last request had a verified token; false where there are no tokens.
    bool isVerified = false;
    // When it was last answered, or accepted while hasSentRequest is false.
    TimePoint since;
};

// Whether `one` is closed rather than `other`, a strict order: first those that have sent no whole
// request, then those without a verified token, then those with one; but those answered within
// kRecentAnswer of `now` come after all others. Within a group the one that waits longest is first.
bool GivesWayBefore(const WaitingConnection& one, const WaitingConnection& other,
                    WaitingConnection::TimePoint now);

}  // namespace Http1
