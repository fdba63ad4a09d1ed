// Confines a plugin beyond the permissions of its user: no_new_privs, and a Landlock ruleset
// (landlock(7)) as strict as the running kernel can enforce.
#pragma once

#include "platform/sys/owned_fd.h"

#include <array>

namespace Kernel {

// The directories below which a sandboxed plugin may write.
inline constexpr std::array<const char*, 3> kWritableDirectories = {"/tmp", "/var/tmp", "/dev"};

// The first versions of Landlock that restrict truncating files by path, and signals to processes
// outside the sandbox.
inline constexpr int kLandlockWithTruncate = 3;
inline constexpr int kLandlockWithSignals = 6;

// The version of Landlock that this process can use; 0 without Landlock.
int LandlockVersion();

// Creates a ruleset that forbids writing outside kWritableDirectories and, if the kernel supports
// it, signals to processes outside the sandbox. Leaves `ruleset` empty without Landlock. Returns 0
// or an error number.
int CreateSandboxRuleset(Sys::OwnedFd& ruleset);

// For the daemon's start. Plugins that run as the daemon's user could read and write its memory; if
// Landlock cannot prevent that, makes this process not dumpable and logs it at level 5. Does
// nothing as root, whose plugins are not sandboxed.
void ProtectFromPlugins();

}  // namespace Kernel
