// The file of a plugin: whether the kernel would execute it, and who could change what it does.
#pragma once

#include "ctl/host/run_user.h"
#include "ctl/show/finding.h"

#include <string>
#include <vector>

namespace Ctl {

// What keeps that user from executing the file at `path`, of this machine: its permissions, a link
// to nothing, its first line, the processor it is for. None when nothing does.
std::vector<Finding> CheckExecutable(const std::string& subject, const std::string& path,
                                     const RunUser& user);

// Who but root and that user could change the file or directory, or replace it: wrong owners, and
// permissions to write. Links are followed. None when nobody could, or it is not there.
std::vector<Finding> CheckOwnership(const std::string& subject, const std::string& path,
                                    const RunUser& user);

}  // namespace Ctl
