// The header fields of a browser's request that the page server reads, and those of its answers.
#pragma once

#include "ctl/serve/live_page.h"

#include <boost/beast/http.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace Ctl {

using BrowserRequest = boost::beast::http::request<boost::beast::http::empty_body>;

// The values of all fields of that name; they point into the request.
std::vector<std::string_view> ValuesOf(const BrowserRequest& request,
                                       boost::beast::http::field name);

// The version of the page that a browser has which asks for events: that of the last event that it
// received, or else the one in `query`, such as "?since=3"; 0 if it has none.
LivePage::Version VersionOf(const BrowserRequest& request, std::string_view query);

// Sets what keeps an answer out of caches and frames, and limits what the page may load to
// `policy`, a Content-Security-Policy without frame-ancestors.
void Protect(boost::beast::http::fields& head, const std::string& policy);

}  // namespace Ctl
