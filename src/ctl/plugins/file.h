// Checks the file of a plugin: whether the kernel would execute it, and who could change it.
#pragma once

#include "ctl/host/run_user.h"
#include "ctl/show/finding.h"

#include <string>
#include <vector>

namespace Ctl {

// Finds what keeps that user from executing the file at `path`, a path of this machine: its
// permissions, a dangling link, its first line, its processor. No findings if nothing does.
std::vector<Finding> CheckExecutable(const std::string& subject, const std::string& path,
                                     const RunUser& user);

// Finds who besides root and that user could change or replace the file or directory: other owners,
// and write permissions. Follows links. No findings if nobody could, or if it is missing.
std::vector<Finding> CheckOwnership(const std::string& subject, const std::string& path,
                                    const RunUser& user);

}  // namespace Ctl
