// The host root: every absolute host path of the system (plugin directory, configuration store,
// keys, audit log) is looked up below it, so that a whole host can stand in a directory.
#pragma once

#include <string>
#include <string_view>

namespace Sys {

// `path`, absolute, below the directory that the environment variable SENTREL_ROOT names ("/" when
// it is unset or empty). For the call that opens, tests, lists or executes; texts keep the plain
// path. The variable is read once, at the first call; its trailing slashes do not count. Any
// thread. Never fails: below a root that HostRootProblem refuses, the result names nothing of use.
std::string HostPath(std::string_view path);

// Empty when SENTREL_ROOT can be used; else what is wrong with it and what to do, in one line. A
// relative value, and a value that names no directory now, cannot be used.
std::string HostRootProblem();

}  // namespace Sys
