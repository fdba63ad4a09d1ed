// Posts a report to the daemon's intake: HTTP/1.1 (RFC 9112) on the loopback interface, one
// connection a post.
#pragma once

#include "sentrel_check/command_line.h"

#include <chrono>
#include <stdexcept>
#include <string_view>

namespace SentrelCheck {

// The intake takes no longer report. In bytes.
inline constexpr std::size_t kMaxReportBytes = 1024 * 1024;

struct PostOptions {
    // For everything. A plugin's slot is 30 s, and its check needs some of them too.
    std::chrono::milliseconds patience{20000};
    // Before the one further try.
    std::chrono::milliseconds pause{1000};
};

class PostError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Blocks until the intake has answered that it stored `document` as the newest report of `name`.
// "localhost" is first ::1, then 127.0.0.1. Tries once more when the intake can't be reached, does
// not answer within half of the patience, or answers with a status of 500 and above; the daemon may
// then have stored the report twice, which is harmless. Throws PostError that says what happened in
// the end and what to do.
void PostReport(const IntakeAddress& intake, std::string_view name, std::string_view document,
                const PostOptions& options = {});

}  // namespace SentrelCheck
