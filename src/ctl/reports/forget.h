// Removes a report name's files from a report directory, beside the daemon that may be storing the
// next report of that name.
#pragma once

#include <string>
#include <vector>

namespace Ctl {

struct Forgotten {
    std::vector<std::string> removed;  // file names, the link first
    std::vector<std::string> kept;     // of a post that is arriving, or that crossed the removal
};

// Removes the link of `name`, then the stored reports and temporary files that its pattern matches,
// but none of another name that has a link. A report whose post crosses this stays, with its link;
// so a temporary file, and a stored one whose link is still to come, stay until they are two
// minutes old. `name` follows the rule of report names; `directory` ends in "/". Throws
// std::system_error when the directory cannot be read or changed.
Forgotten Forget(const std::string& directory, const std::string& name);

}  // namespace Ctl
