// Whether the running kernel offers what the daemon uses of it, and the two build dates that the
// message about a mismatch shows. Versions and dates are never compared: kernels are patched, and
// sandboxes take calls away from new ones.
#pragma once

#include <string>

namespace Kernel {

// Asks the kernel itself, with calls that cannot succeed: clone3, into a cgroup when `intoGroup`,
// pidfd_send_signal, close_range. About 20 microseconds; nothing is kept, so that a condition which
// goes away is seen at the next call. Any thread.
bool KernelOffersInterface(bool intoGroup);

// The date in the version text of uname(2), such as "#1 SMP Thu Sep  7 10:21:30 UTC 2023" or
// "#1 SMP Debian 6.1.55-1 (2023-09-29)", as "YYYY-MM-DDTHH:MM:SSZ"; all zeros when there is none.
// A zone other than UTC is taken for UTC.
std::string BuildDateOfVersion(const std::string& version);

// That of the running kernel.
std::string RunningKernelDate();

// When this library was compiled, by the compiler's clock (local time where it builds), in the same
// form. Never freed.
const char* ProgramDate();

}  // namespace Kernel
