// Decides who may see the live page: a browser that sends the secret of its URL, which the first
// request exchanges for a cookie, and that no other site has sent here.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Ctl {

// The parts of a request that decide. Fields may have been sent several times.
struct Visit {
    std::string_view target;  // "/?secret=..."
    std::vector<std::string_view> hosts;
    std::vector<std::string_view> origins;
    std::vector<std::string_view> cookies;
};

class Gate {
  public:
    enum class Verdict {
        Refused,
        Enters,  // has the secret: receives the cookie and is redirected to "/"
        Admitted
    };

    // Creates a new secret. Throws Failure if the system provides no random bytes.
    Gate();

    Verdict Judge(const Visit& visit) const;

    // The target with the secret: "/?secret=...".
    std::string EntryTarget() const;
    // The value of the Set-Cookie field; a browser that returns the cookie is admitted.
    std::string Cookie() const;

  private:
    std::string secret;
    // Unique to this process, since browsers send the cookies of a host to all of its ports.
    std::string cookieName;
};

}  // namespace Ctl
