// Who may see the live page: whoever has the secret of its URL, which the first request changes
// into a cookie, in a browser that was not sent here by another site.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Ctl {

// What of a request decides; each value of a field that was sent.
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
        Enters,  // with the secret: is given the cookie and sent to "/"
        Admitted
    };

    // With a new secret. Throws Failure when the system gives no random bytes.
    Gate();

    Verdict Judge(const Visit& visit) const;

    // "/?secret=...": the target that enters.
    std::string EntryTarget() const;
    // The value of the Set-Cookie field that admits.
    std::string Cookie() const;

  private:
    std::string secret;
    // Of this process: browsers send the cookies of a host to all of its ports.
    std::string cookieName;
};

}  // namespace Ctl
