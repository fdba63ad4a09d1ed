// One POST over a connection of its own, within a time. What the answer means is the caller's.
#pragma once

#include "ctl/show/failure.h"

#include <string>

namespace Ctl {

struct HttpPost {
    std::string host;
    std::string port;
    std::string target = "/";
    std::string authorization = {};  // the field's value; empty: none
    std::string body;                // JSON
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

// Throws HttpFailure when there is no answer within a minute.
HttpAnswer Send(const HttpPost& post);

}  // namespace Ctl
