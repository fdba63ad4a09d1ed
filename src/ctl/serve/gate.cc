#include "ctl/serve/gate.h"

#include "ctl/show/failure.h"
#include "platform/http1/origin.h"

#include <openssl/crypto.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>

#include <sys/random.h>

namespace Ctl {

namespace {

constexpr std::size_t kSecretBytes = 32;
constexpr std::size_t kNameBytes = 4;
constexpr std::string_view kEntry = "/?secret=";

template <std::size_t kCount>
std::string RandomHex() {
    std::array<unsigned char, kCount> bytes{};
    if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw Failure("cannot get random bytes", errno);
    }
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string hex;
    for (const unsigned char byte : bytes) {
        hex += kDigits[byte >> 4U];
        hex += kDigits[byte & 15U];
    }
    return hex;
}

// Compares in a time that does not depend on where they differ.
bool IsSame(std::string_view one, std::string_view other) {
    return one.size() == other.size() && CRYPTO_memcmp(one.data(), other.data(), one.size()) == 0;
}

// Whether one of the pairs of a Cookie field (RFC 6265 section 4.2) is `name` with `value`.
bool HoldsCookie(std::string_view field, std::string_view name, std::string_view value) {
    while (!field.empty()) {
        const std::string_view pair = field.substr(0, field.find(';'));
        field.remove_prefix(std::min(field.size(), pair.size() + 1));
        field.remove_prefix(std::min(field.find_first_not_of(' '), field.size()));
        const std::size_t sign = pair.find('=');
        if (sign != std::string_view::npos && pair.substr(0, sign) == name &&
            IsSame(pair.substr(sign + 1), value)) {
            return true;
        }
    }
    return false;
}

}  // namespace

Gate::Gate()
    : secret(RandomHex<kSecretBytes>()), cookieName("sentrel-" + RandomHex<kNameBytes>()) {}

std::string Gate::EntryTarget() const { return std::string(kEntry) + secret; }

std::string Gate::Cookie() const {
    return cookieName + "=" + secret + "; HttpOnly; SameSite=Strict; Path=/";
}

Gate::Verdict Gate::Judge(const Visit& visit) const {
    // A name of another site that leads to this address would make its pages of the same origin.
    if (visit.hosts.size() != 1) {
        return Verdict::Refused;
    }
    const std::string own = "http://" + std::string(visit.hosts.front());
    const bool isOwn = std::all_of(visit.origins.begin(), visit.origins.end(),
                                   [&own](std::string_view origin) { return origin == own; });
    if (!Http1::IsLoopbackOrigin(own) || !isOwn) {
        return Verdict::Refused;
    }
    if (visit.target.starts_with(kEntry) && IsSame(visit.target.substr(kEntry.size()), secret)) {
        return Verdict::Enters;
    }
    const bool isKnown = std::any_of(
        visit.cookies.begin(), visit.cookies.end(),
        [this](std::string_view field) { return HoldsCookie(field, cookieName, secret); });
    return isKnown ? Verdict::Admitted : Verdict::Refused;
}

}  // namespace Ctl
