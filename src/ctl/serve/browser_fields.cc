#include "ctl/serve/browser_fields.h"

#include <algorithm>
#include <charconv>

namespace Ctl {

LivePage::Version VersionOf(std::string_view lastEventId, std::string_view query) {
    constexpr std::string_view kSince = "?since=";
    const std::string_view text =
        !lastEventId.empty() ? lastEventId : query.substr(std::min(kSince.size(), query.size()));
    LivePage::Version version = 0;
    (void)std::from_chars(text.data(), text.data() + text.size(), version);  // else from the start
    return version;
}

std::array<std::pair<const char*, std::string>, 5> ProtectiveFields(const std::string& policy) {
    return {{{"Cache-Control", "no-store"},
             {"Connection", "close"},
             {"Referrer-Policy", "no-referrer"},
             {"X-Content-Type-Options", "nosniff"},
             {"Content-Security-Policy", policy + "; frame-ancestors 'none'"}}};
}

}  // namespace Ctl
