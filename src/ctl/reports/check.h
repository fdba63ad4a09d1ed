// What is wrong with a report document before it is posted, by the description that is installed
// (report_schema.h) and what no schema can say: the daemon stores whatever comes, and
// leaves out of its answers what is no report.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Ctl {

// One text for each problem of the document as the report `name`, such as "structured.time has no
// zone"; none when it is good.
std::vector<std::string> FindProblems(std::string_view document, std::string_view name);

}  // namespace Ctl
