#include "ctl/host/run_user.h"

#include "platform/sys/proc_file.h"

#include <array>
#include <cstdint>
#include <iterator>
#include <sstream>
#include <string_view>

#include <grp.h>
#include <linux/capability.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Ctl {

namespace {

// The numbers of a field in /proc/PID/status.
std::vector<unsigned> NumbersOf(const std::string& status, std::string_view field) {
    std::istringstream text{std::string(Sys::StatusField(status, field))};
    return {std::istream_iterator<unsigned>(text), {}};
}

// Drops every capability except CAP_DAC_OVERRIDE, which the change of users has kept permitted.
bool KeepFileAccess() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> sets{};
    sets[0].permitted = sets[0].effective = std::uint32_t{1} << CAP_DAC_OVERRIDE;
    return ::syscall(SYS_capset, &header, sets.data()) == 0;
}

}  // namespace

std::optional<RunUser> UserOf(pid_t process) {
    const std::string status = Sys::ReadProcFile("/proc/" + std::to_string(process) + "/status");
    const std::vector<unsigned> users = NumbersOf(status, "Uid");
    const std::vector<unsigned> groups = NumbersOf(status, "Gid");
    if (users.size() < 2 || groups.size() < 2) {
        return std::nullopt;
    }
    return RunUser{users[1], groups[1], NumbersOf(status, "Groups")};  // the effective ones
}

bool Become(const RunUser& user) {
    return ::prctl(PR_SET_KEEPCAPS, 1) == 0 &&
           ::setgroups(user.groups.size(), user.groups.data()) == 0 &&
           ::setresgid(user.group, user.group, user.group) == 0 &&
           ::setresuid(user.user, user.user, user.user) == 0 && KeepFileAccess();
}

std::string NameOfUser(uid_t user) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread asks for users
    const passwd* const entry = ::getpwuid(user);
    return entry != nullptr ? entry->pw_name : std::to_string(user);
}

}  // namespace Ctl
