// Text in an HTML document.
#pragma once

#include <string>
#include <string_view>

namespace Ctl {

// `text` as character data, or as the value of an attribute in double quotes. What could change the
// direction of other text or is not a character is replaced, and beyond 16 KiB the text is cut.
std::string Html(std::string_view text);

// "sha256-...": what names an inline style or script in a Content-Security-Policy (CSP Level 3,
// section 2.3.1).
std::string PolicyHash(std::string_view inlineText);

}  // namespace Ctl
