// Sends one POST over a connection of its own, within a time limit, and on loopback only to a
// trusted program. The caller interprets the answer.
#pragma once

#include "ctl/show/failure.h"

#include <chrono>
#include <string>

namespace Ctl {

struct HttpPost {
    std::string host;  // a name or an address, IPv6 without brackets
    std::string port;
    std::string target = "/";
    std::string authorization = {};  // the field's value; empty: none
    std::string body;                // JSON
    std::chrono::milliseconds timeout =
        std::chrono::minutes(10);  // for everything except the look-up of `host`
    std::chrono::milliseconds silence =
        std::chrono::seconds(10);  // the longest time without a byte
};

struct HttpAnswer {
    unsigned status = 0;
    std::string body;
};

// Its text is only the system's reason.
class HttpFailure : public Failure {
  public:
    using Failure::Failure;
};

// Throws HttpFailure if no complete answer arrives (ETIMEDOUT: in time), and UntrustedListener, as
// RequireTrustedListener does, before anything is sent.
HttpAnswer Send(const HttpPost& post);

}  // namespace Ctl
