// The token of a client's calls.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace Ctl {

// The token in a file, or on standard input for "-", without surrounding blanks. Throws Failure if
// it contains no token.
std::string ReadTokenFrom(const std::string& path);

class TokenSource {
  public:
    // No token.
    TokenSource() = default;
    // The token in `file`, as ReadTokenFrom reads it. If `file` is empty: tokens signed here for
    // this user, valid for one minute, with the privilege to read reports, if this user may read
    // the signing key; else none. Throws Failure if a file cannot be used.
    explicit TokenSource(const std::string& file);

    bool HasToken() const { return !token.empty(); }
    // The token to send now; empty if there is none. One signed here is replaced by a new one when
    // half of its minute is over. Throws Failure if the signing key cannot be used any more.
    const std::string& Current();

  private:
    void Sign();

    std::string token;
    std::optional<std::chrono::steady_clock::time_point> renewal;  // of a token signed here
};

}  // namespace Ctl
