#include "ctl/api/token_source.h"

#include "ctl/api/signing.h"
#include "ctl/host/input_file.h"
#include "ctl/show/failure.h"
#include "platform/sys/host_root.h"
#include "platform/token/jwt.h"

#include <chrono>
#include <string_view>

#include <pwd.h>
#include <unistd.h>

namespace Ctl {

namespace {

constexpr std::chrono::seconds kOwnTokenLifetime{60};

std::string UserName() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the process has one thread
    const passwd* user = ::getpwuid(::geteuid());
    return user == nullptr ? std::to_string(::geteuid()) : user->pw_name;
}

}  // namespace

std::string ReadTokenFrom(const std::string& path) {
    // one byte more than a token and a line feed may have, so that a longer file is noticed
    std::string text = ReadInputFile(path, Token::kMaxTokenBytes + 1, "the token file");
    constexpr std::string_view kBlanks = " \t\r\n";
    text.erase(text.find_last_not_of(kBlanks) + 1);
    text.erase(0, text.find_first_not_of(kBlanks));
    if (text.empty() || text.find_first_of(kBlanks) != std::string::npos ||
        text.size() > Token::kMaxTokenBytes) {
        throw Failure((path == "-" ? "standard input" : "the file " + path) + " holds no token",
                      "\"sentrelctl token issue --subject NAME\" prints one");
    }
    return text;
}

TokenSource::TokenSource(const std::string& file) {
    if (!file.empty()) {
        token = ReadTokenFrom(file);
    } else if (::access(Sys::HostPath(kSigningKeyPath).c_str(), R_OK) == 0) {
        Sign();
    }
}

const std::string& TokenSource::Current() {
    if (renewal && std::chrono::steady_clock::now() >= *renewal) {
        Sign();
    }
    return token;
}

void TokenSource::Sign() {
    renewal = std::chrono::steady_clock::now() + kOwnTokenLifetime / 2;
    token = IssueToken(UserName(), {std::string(kReadPrivilege)}, kOwnTokenLifetime);
}

}  // namespace Ctl
