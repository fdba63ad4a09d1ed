#include "platform/kernel/groups/cgroup_location.h"

#include "platform/sys/proc_file.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <sstream>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace Kernel {

namespace {

constexpr const char* kRootVariable = "SENTREL_CGROUP_ROOT";
constexpr const char* kNotMounted = "no cgroup v2 hierarchy is mounted";

std::optional<CgroupMount> FindMount() {
    constexpr std::size_t kMaxBytes = 16 * 1024 * 1024;  // enough for tens of thousands of mounts
    return FindCgroupMount(Sys::ReadProcFile("/proc/self/mountinfo", kMaxBytes));
}

std::vector<std::string> SplitFields(const std::string& line) {
    std::istringstream stream(line);
    std::vector<std::string> fields;
    for (std::string field; stream >> field;) {
        fields.push_back(std::move(field));
    }
    return fields;
}

bool IsOctalDigit(char digit) { return digit >= '0' && digit <= '7'; }

// mountinfo writes a blank, tab, line feed or backslash in a path as "\OOO".
std::string Unescape(std::string_view text) {
    std::string plain;
    for (std::size_t position = 0; position < text.size(); ++position) {
        const std::string_view rest = text.substr(position);
        if (rest.size() >= 4 && rest[0] == '\\' && IsOctalDigit(rest[1]) && IsOctalDigit(rest[2]) &&
            IsOctalDigit(rest[3])) {
            plain += static_cast<char>((rest[1] - '0') * 64 + (rest[2] - '0') * 8 + rest[3] - '0');
            position += 3;
        } else {
            plain += rest[0];
        }
    }
    return plain;
}

// A line is "ID PARENT MAJOR:MINOR ROOT MOUNTPOINT OPTIONS [TAG...] - TYPE SOURCE OPTIONS".
std::optional<CgroupMount> ParseMount(const std::string& line) {
    constexpr std::size_t kRootField = 3;
    constexpr std::size_t kDirectoryField = 4;
    const std::vector<std::string> fields = SplitFields(line);
    for (std::size_t index = kDirectoryField + 1; index + 1 < fields.size(); ++index) {
        if (fields[index] == "-") {
            if (fields[index + 1] != "cgroup2") {
                return std::nullopt;
            }
            return CgroupMount{Unescape(fields[kDirectoryField]), Unescape(fields[kRootField])};
        }
    }
    return std::nullopt;
}

bool IsDelegated(const std::string& directory) {
    constexpr std::array<const char*, 2> kMarks = {"user.delegate", "trusted.delegate"};
    for (const char* mark : kMarks) {
        char value = 0;
        if (::getxattr(directory.c_str(), mark, &value, 1) == 1 && value == '1') {
            return true;
        }
    }
    return false;
}

// Returns 0 if this process can create directories below `directory` and move processes into them;
// otherwise the error number.
int WriteProblem(const std::string& directory) {
    const std::string processes = directory + "/cgroup.procs";
    if (::faccessat(AT_FDCWD, directory.c_str(), W_OK | X_OK, AT_EACCESS) != 0 ||
        ::faccessat(AT_FDCWD, processes.c_str(), W_OK, AT_EACCESS) != 0) {
        return errno;
    }
    return 0;
}

std::string Parent(const std::string& directory) {
    return directory.substr(0, directory.rfind('/'));
}

// The delegated unit that is, or contains, the cgroup of a process; empty if there is none.
std::string FindDelegatedUnit(const CgroupMount& mount, std::string_view ownCgroups) {
    std::string own = FindOwnCgroup(mount, ownCgroups);
    if (own.empty() || own == mount.directory) {
        return "";
    }
    if (IsDelegated(own)) {
        return own;
    }
    std::string parent = Parent(own);
    const bool inLeaf = own == parent + "/" + std::string(kDaemonLeaf);
    return inLeaf && IsDelegated(parent) ? parent : "";
}

// Whether the user of a process may do what WriteProblem checks, judged by file modes alone.
bool MayWrite(const std::string& process, const std::string& directory) {
    struct stat user{};
    if (::stat(process.c_str(), &user) != 0 || user.st_uid == 0) {
        return true;
    }
    for (const std::string& path : {directory, directory + "/cgroup.procs"}) {
        struct stat status{};
        const mode_t bit =
            ::stat(path.c_str(), &status) == 0 && status.st_uid == user.st_uid ? S_IWUSR : S_IWOTH;
        if ((status.st_mode & bit) == 0) {
            return false;
        }
    }
    return true;
}

// The value of a variable in the text of /proc/PID/environ (proc(5)); empty if it is not set.
std::string FindVariable(const std::string& environment, const std::string& name) {
    const std::string start = name + "=";
    std::istringstream variables(environment);
    for (std::string variable; std::getline(variables, variable, '\0');) {
        if (variable.starts_with(start)) {
            return variable.substr(start.size());
        }
    }
    return "";
}

std::string WithoutSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

}  // namespace

std::optional<CgroupMount> FindCgroupMount(std::string_view mountInfo) {
    std::istringstream lines{std::string(mountInfo)};
    std::optional<CgroupMount> first;
    for (std::string line; std::getline(lines, line);) {
        std::optional<CgroupMount> mount = ParseMount(line);
        if (mount && mount->root == "/") {
            return mount;
        }
        if (mount && !first) {
            first = std::move(mount);
        }
    }
    return first;
}

std::string FindOwnCgroup(const CgroupMount& mount, std::string_view ownCgroups) {
    constexpr std::string_view kUnified = "0::";
    std::istringstream lines{std::string(ownCgroups)};
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with(kUnified)) {
            continue;
        }
        const std::string path = line.substr(kUnified.size());
        const std::string root = mount.root == "/" ? "" : mount.root;
        const std::string below = path == "/" ? "" : path;
        const bool shown = below == root || below.starts_with(root + "/");
        // "/..": outside the cgroup namespace of this process
        return shown && !below.starts_with("/..") ? mount.directory + below.substr(root.size())
                                                  : "";
    }
    return "";
}

GroupRoot LocateGroupRoot() {
    using Kind = GroupRoot::Kind;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing in this process changes its environment
    const char* named = std::getenv(kRootVariable);
    if (named != nullptr && *named != '\0') {
        return {Kind::Named, WithoutSlashes(named), ""};
    }
    const std::optional<CgroupMount> mount = FindMount();
    if (!mount) {
        return {Kind::None, "", kNotMounted};
    }
    const std::string unit = FindDelegatedUnit(*mount, Sys::ReadProcFile("/proc/self/cgroup"));
    if (!unit.empty() && WriteProblem(unit) == 0) {
        return {Kind::DelegatedUnit, unit, ""};
    }
    if (const int error = WriteProblem(mount->directory); error != 0) {
        return {Kind::None, "",
                mount->directory + " is not writable: " + std::generic_category().message(error)};
    }
    return {Kind::Mount, mount->directory, ""};
}

GroupRoot LocateGroupRootOf(pid_t process) {
    using Kind = GroupRoot::Kind;
    const std::string directory = "/proc/" + std::to_string(process);
    const std::string named =
        FindVariable(Sys::ReadProcFile(directory + "/environ"), kRootVariable);
    if (!named.empty()) {
        return {Kind::Named, WithoutSlashes(named), ""};
    }
    const std::optional<CgroupMount> mount = FindMount();
    if (!mount) {
        return {Kind::None, "", kNotMounted};
    }
    const std::string unit = FindDelegatedUnit(*mount, Sys::ReadProcFile(directory + "/cgroup"));
    if (!unit.empty()) {
        return {Kind::DelegatedUnit, unit, ""};
    }
    if (!MayWrite(directory, mount->directory)) {
        return {Kind::None, "",
                mount->directory + " is not writable by the user of process " +
                    std::to_string(process)};
    }
    return {Kind::Mount, mount->directory, ""};
}

}  // namespace Kernel
