// One POST over a connection of its own, within a time, and on loopback only to a program that may
// be believed. What the answer means is the caller's.
#pragma once

#include "ctl/show/failure.h"

#include <chrono>
#include <string>

namespace Ctl {

struct HttpPost {
    std::string host;  // a name or an address, of IPv6 without brackets
    std::string port;
    std::string target = "/";
    std::string authorization = {};  // the field's value; empty: none
    std::string body;                // JSON
    std::chrono::milliseconds timeout =
        std::chrono::minutes(10);  // for all but the look-up of `host`
    std::chrono::milliseconds silence = std::chrono::seconds(10);  // without a byte
};

struct HttpAnswer {
    unsigned status = 0;
    std::string body;
};

// The text is the system's reason alone.
class HttpFailure : public Failure {
  public:
    using Failure::Failure;
};

// Throws HttpFailure when no whole answer comes, with ETIMEDOUT when none comes in time, and
// UntrustedListener, before it sends anything, as RequireTrustedListener does.
HttpAnswer Send(const HttpPost& post);

}  // namespace Ctl
