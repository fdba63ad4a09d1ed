#include "platform/http1/origin.h"

#include <algorithm>
#include <string>

#include <arpa/inet.h>
#include <netinet/in.h>

namespace Http1 {

namespace {

constexpr unsigned kLoopbackNetwork = 127;

// Removes "http://" or "https://" from the front; returns false when `origin` starts with neither.
bool TakeScheme(std::string_view& origin) {
    for (const std::string_view scheme : {"http://", "https://"}) {
        if (EqualsIgnoringCase(origin.substr(0, scheme.size()), scheme)) {
            origin.remove_prefix(scheme.size());
            return true;
        }
    }
    return false;
}

bool IsPortOrNothing(std::string_view text) {
    return text.empty() || (text.front() == ':' && text.size() > 1 &&
                            text.find_first_not_of("0123456789", 1) == std::string_view::npos);
}

bool IsLoopbackAddress6(const std::string& text) {
    in6_addr address{};
    if (::inet_pton(AF_INET6, text.c_str(), &address) != 1) {
        return false;
    }
    const bool isMapped = IN6_IS_ADDR_V4MAPPED(&address);
    return IN6_IS_ADDR_LOOPBACK(&address) || (isMapped && address.s6_addr[12] == kLoopbackNetwork);
}

bool IsLoopbackName(const std::string& host) {
    in_addr address{};
    return EqualsIgnoringCase(host, "localhost") ||
           (::inet_pton(AF_INET, host.c_str(), &address) == 1 &&
            ntohl(address.s_addr) >> 24 == kLoopbackNetwork);
}

}  // namespace

bool IsLoopbackOrigin(std::string_view origin) {
    if (!TakeScheme(origin)) {
        return false;
    }
    if (origin.starts_with('[')) {
        const std::size_t end = origin.find(']');
        return end != std::string_view::npos && IsPortOrNothing(origin.substr(end + 1)) &&
               IsLoopbackAddress6(std::string(origin.substr(1, end - 1)));
    }
    const std::size_t end = std::min(origin.find(':'), origin.size());
    return IsPortOrNothing(origin.substr(end)) &&
           IsLoopbackName(std::string(origin.substr(0, end)));
}

bool HasForeignOrigin(const RequestHead& head) {
    return std::any_of(head.begin(), head.end(), [](const HeaderField& field) {
        return EqualsIgnoringCase(field.name, "origin") && !IsLoopbackOrigin(field.value);
    });
}

}  // namespace Http1
