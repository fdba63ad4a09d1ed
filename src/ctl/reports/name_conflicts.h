// Finds report names that conflict in the report directory. The files of NAME there:
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
    std::string why;  // one sentence without a full stop, which names both
};

// The pairs among these names of reports and plugins that share files, or that differ only in case,
// which the API takes for one name. Equal names count once.
std::vector<NameConflict> FindNameConflicts(const std::vector<std::string>& names);

}  // namespace Ctl
