#include "ctl/plugin_run/inheritance.h"

#include "platform/sys/owned_fd.h"
#include "platform/sys/proc_file.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ctl {

namespace {

using Resource = __rlimit_resource;  // the system library's enumeration

std::optional<mode_t> FileMaskOf(const std::string& status) {
    const std::string mask(Sys::StatusField(status, "Umask"));
    constexpr int kOctal = 8;
    return mask.empty() ? std::nullopt
                        : std::optional<mode_t>(std::strtoul(mask.c_str(), nullptr, kOctal));
}

}  // namespace

Inheritance InheritanceOf(pid_t process) {
    const std::string folder = "/proc/" + std::to_string(process);
    Inheritance inheritance;
    inheritance.fileMask = FileMaskOf(Sys::ReadProcFile(folder + "/status"));
    inheritance.oomScoreAdjust = Sys::ReadProcFile(folder + "/oom_score_adj");
    for (std::size_t resource = 0; resource < inheritance.limits.size(); ++resource) {
        rlimit limit{};
        if (::prlimit(process, static_cast<Resource>(resource), nullptr, &limit) == 0) {
            inheritance.limits[resource] = limit;
        }
    }
    errno = 0;  // -1 is a valid niceness
    const int niceness = ::getpriority(PRIO_PROCESS, static_cast<id_t>(process));
    if (errno == 0) {
        inheritance.niceness = niceness;
    }
    return inheritance;
}

void Inherit(const Inheritance& inheritance) {
    if (inheritance.fileMask) {
        (void)::umask(*inheritance.fileMask);  // cannot fail
    }
    // The following calls fail if this user lacks the privilege; most users have the same values
    // anyway.
    const Sys::OwnedFd score(::open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC));
    if (score.IsOpen() && !inheritance.oomScoreAdjust.empty()) {
        const std::string& text = inheritance.oomScoreAdjust;
        const ssize_t written = ::write(score.Get(), text.data(), text.size());
        (void)written;
    }
    if (inheritance.niceness) {
        (void)::setpriority(PRIO_PROCESS, 0, *inheritance.niceness);
    }
    for (std::size_t resource = 0; resource < inheritance.limits.size(); ++resource) {
        if (inheritance.limits[resource]) {
            (void)::prlimit(0, static_cast<Resource>(resource), &*inheritance.limits[resource],
                            nullptr);
        }
    }
}

}  // namespace Ctl
