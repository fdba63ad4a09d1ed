// The header fields by which the page server and a browser understand each other, as texts.
#pragma once

#include "ctl/serve/live_page.h"

#include <array>
#include <string>
#include <string_view>
#include <utility>

namespace Ctl {

// The version of the page that a browser which asks for events has: `lastEventId`, the field of
// that name, or else the one in `query`, such as "?since=3"; 0 if neither has one.
LivePage::Version VersionOf(std::string_view lastEventId, std::string_view query);

// The names and values of the fields that keep an answer out of caches and frames and limit what
// the page may load to `policy`, a Content-Security-Policy without frame-ancestors.
std::array<std::pair<const char*, std::string>, 5> ProtectiveFields(const std::string& policy);

}  // namespace Ctl
