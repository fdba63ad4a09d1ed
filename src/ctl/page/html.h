// Escapes text for an HTML document.
#pragma once

#include <string>
#include <string_view>

namespace Ctl {

// `text` as character data, or as an attribute's value in double quotes. Replaces characters that
// could change the direction of other text, and invalid ones; cuts the text after 16 KiB.
std::string Html(std::string_view text);

// "sha256-...": the hash that allows an inline style or script in a Content-Security-Policy (CSP
// Level 3, section 2.3.1).
std::string PolicyHash(std::string_view inlineText);

}  // namespace Ctl
