// Checks that the running kernel has the system calls that the daemon uses, and provides the two
// build dates for the message about a mismatch. Versions and dates are never compared: kernels are
// patched, and sandboxes block calls of new ones.
#pragma once

#include <string>

namespace Kernel {

// Probes the kernel with calls that cannot succeed: clone3, into a cgroup if `intoGroup`,
// pidfd_send_signal, close_range. Takes about 20 microseconds. Caches nothing, so the next call
// notices when a problem is gone. Any thread.
bool KernelOffersInterface(bool intoGroup);

// The date in the version text of uname(2), such as "#1 SMP Thu Sep  7 10:21:30 UTC 2023" or "#1
// SMP Debian 6.1.55-1 (2023-09-29)", as "YYYY-MM-DDTHH:MM:SSZ"; all zeros if it contains none. Time
// zones are ignored and taken as UTC.
std::string BuildDateOfVersion(const std::string& version);

// The date of the running kernel.
std::string RunningKernelDate();

// When this library was compiled, by the compiler's clock (local time of the build), in the same
// format. Never freed.
const char* ProgramDate();

}  // namespace Kernel
