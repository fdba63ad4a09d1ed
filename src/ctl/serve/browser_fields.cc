#include "ctl/serve/browser_fields.h"

#include <algorithm>
#include <charconv>

namespace Ctl {

namespace Http = boost::beast::http;

std::vector<std::string_view> ValuesOf(const BrowserRequest& request, Http::field name) {
    std::vector<std::string_view> values;
    const auto [first, last] = request.equal_range(name);
    for (auto field = first; field != last; ++field) {
        values.emplace_back(field->value().data(), field->value().size());
    }
    return values;
}

LivePage::Version VersionOf(const BrowserRequest& request, std::string_view query) {
    constexpr std::string_view kSince = "?since=";
    const auto last = request.find("Last-Event-ID");
    const std::string_view text = last != request.end()
                                      ? std::string_view(last->value().data(), last->value().size())
                                      : query.substr(std::min(kSince.size(), query.size()));
    LivePage::Version version = 0;
    (void)std::from_chars(text.data(), text.data() + text.size(), version);  // else from the start
    return version;
}

void Protect(Http::fields& head, const std::string& policy) {
    head.set(Http::field::cache_control, "no-store");
    head.set(Http::field::connection, "close");
    head.set("Referrer-Policy", "no-referrer");
    head.set("X-Content-Type-Options", "nosniff");
    head.set("Content-Security-Policy", policy + "; frame-ancestors 'none'");
}

}  // namespace Ctl
