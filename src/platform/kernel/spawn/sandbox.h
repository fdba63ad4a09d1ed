// What confines a plugin beyond the permissions of its user: no_new_privs, and a Landlock ruleset
// (landlock(7)) as strict as the running kernel can enforce.
#pragma once

#include "platform/sys/owned_fd.h"

#include <array>

namespace Kernel {

// The directories below which a sandboxed plugin may write.
inline constexpr std::array<const char*, 3> kWritableDirectories = {"/tmp", "/var/tmp", "/dev"};

// From these versions of Landlock on the sandbox covers truncating files by path, and signals to
// processes outside it.
inline constexpr int kLandlockWithTruncate = 3;
inline constexpr int kLandlockWithSignals = 6;

// The version of Landlock that this process can use; 0 without Landlock.
int LandlockVersion();

// Creates the ruleset that forbids all writing outside kWritableDirectories and, where the kernel
// can, signals to processes outside the sandbox. Leaves `ruleset` empty without Landlock. Returns 0
// or an error number.
int CreateSandboxRuleset(Sys::OwnedFd& ruleset);

// For the daemon's start. Plugins of its own user could read and write its memory; where Landlock
// cannot prevent that, makes this process not dumpable and logs one level-5 line. Does nothing as
// root, whose plugins are not sandboxed.
void ProtectFromPlugins();

}  // namespace Kernel
