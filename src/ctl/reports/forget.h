// Removes a report name's files from a report directory, even while the daemon stores the next
// report of that name.
#pragma once

#include <string>
#include <vector>

namespace Ctl {

struct Forgotten {
    std::vector<std::string> removed;  // file names, the link first
    std::vector<std::string> kept;     // of a post that is arriving, or arrived meanwhile
};

// Removes the link of `name`, then the stored reports and temporary files that its pattern matches,
// except those of another name that has a link. A report that is posted meanwhile stays, with its
// link; so a temporary file, and a stored one that is not linked yet, stay until they are two
// minutes old. `name` follows the rule of report names; `directory` ends in "/". Throws
// std::system_error when the directory cannot be read or changed.
Forgotten Forget(const std::string& directory, const std::string& name);

}  // namespace Ctl
