// Chooses the connection to close when the bound is reached and another client connects.
#pragma once

#include <chrono>

namespace Http1 {

// A client answered within this time is likely to send its next request soon.
inline constexpr std::chrono::seconds kRecentAnswer{1};

// What the bound knows about a connection that waits for its client.
struct WaitingConnection {
    using TimePoint = std::chrono::steady_clock::time_point;

    // A whole request has been read from the connection.
    bool hasSentRequest = false;
    // The last request carried a verified token; always false for a server without tokens.
    bool isVerified = false;
    // When the connection was last answered, or accepted if hasSentRequest is false.
    TimePoint since;
};

// Whether to close `one` before `other`, a strict order: first connections that have sent no whole
// request, then those without a verified token, then those with one; all that were answered within
// kRecentAnswer before `now` come last. Within a group the one that has waited longest comes first.
bool GivesWayBefore(const WaitingConnection& one, const WaitingConnection& other,
                    WaitingConnection::TimePoint now);

}  // namespace Http1
