// Looks up every absolute host path (plugin directory, configuration store, keys, audit log) below
// the host root, so that a whole host fits in a directory.
#pragma once

#include <string>
#include <string_view>

namespace Sys {

// Returns the absolute `path` below the directory in the environment variable SENTREL_ROOT ("/" if
// unset or empty). For the call that opens, tests, lists or executes; messages show the plain path.
// The first call reads the variable and ignores trailing slashes. Any thread. Never fails; call
// HostRootProblem first to refuse an unusable root.
std::string HostPath(std::string_view path);

// Returns an empty text if SENTREL_ROOT is usable; otherwise one line that says what is wrong and
// what to do, and calls the variable `name`, for an option that sets it. A relative path, and a
// path that is not an existing directory, are unusable.
std::string HostRootProblem(std::string_view name = "SENTREL_ROOT");

}  // namespace Sys
