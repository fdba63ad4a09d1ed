// Report names that get in each other's way in the report directory. The files of NAME there:
//
//   NAME.json                        the link to the newest report
//   NAME-0.json to NAME-2.json       stored reports
//   .NAME-0.json to .NAME-2.json     reports while they arrive
#pragma once

#include <string>
#include <vector>

namespace Ctl {

struct NameConflict {
    std::string one;
    std::string other;
    std::string why;  // one sentence without its stop, which names both
};

// The pairs among these names of reports and plugins that share files, or that the API takes for
// one name since they differ in case alone. Equal names are one.
std::vector<NameConflict> FindNameConflicts(const std::vector<std::string>& names);

}  // namespace Ctl
