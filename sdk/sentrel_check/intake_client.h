// Posts a report to the daemon's intake: HTTP/1.1 (RFC 9112) on the loopback interface, with a new
// connection for each post.
#pragma once

#include "sentrel_check/command_line.h"

#include <chrono>
#include <stdexcept>
#include <string_view>

namespace SentrelCheck {

// The maximum size in bytes of a report that the intake accepts.
inline constexpr std::size_t kMaxReportBytes = 1024 * 1024;

struct PostOptions {
    // The timeout of the whole post. A plugin's slot is 30 s, and the check needs some of it too.
    std::chrono::milliseconds patience{20000};
    // The pause before the second attempt.
    std::chrono::milliseconds pause{1000};
};

class PostError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Blocks until the intake has confirmed that it stored `document` as the newest report of `name`.
// "localhost" is tried as ::1, then 127.0.0.1. Tries a second time if the intake cannot be reached,
// does not respond within half of `patience`, or responds with a status of 500 or above; the daemon
// may then have stored the report twice, which is harmless. Throws PostError, whose text says what
// happened last and what to do.
void PostReport(const IntakeAddress& intake, std::string_view name, std::string_view document,
                const PostOptions& options = {});

}  // namespace SentrelCheck
