// Checks a report document before it is posted, by the installed schema (post/schema.h) and by
// rules that a schema cannot express. The daemon itself stores any document, and its answers omit
// those that are not reports.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Ctl {

// One text for each problem of the document as the report `name`, such as "structured.time has no
// zone"; none if it is valid.
std::vector<std::string> FindProblems(std::string_view document, std::string_view name);

}  // namespace Ctl
