// The style and the script of the page, embedded from page.css and page.js.
#pragma once

#include <string_view>

namespace Ctl {

extern const std::string_view kPageStyle;
extern const std::string_view kPageScript;

}  // namespace Ctl
