// Landlock does not report refusals, so this searches the plugin's output for "/a/file: Permission
// denied", "[Errno 13] Permission denied: '/a/file'" and similar texts.
#include "ctl/plugin_run/confinement.h"

#include "ctl/show/sizes.h"
#include "ctl/show/words.h"
#include "platform/kernel/spawn/sandbox.h"

#include <algorithm>
#include <sstream>
#include <string_view>

#include <sys/stat.h>

namespace Ctl {

namespace {

constexpr std::string_view kDenied = "ermission denied";
constexpr std::string_view kBeforePath = " \t'\"`(=";
constexpr std::string_view kAfterPath = " \t'\"`):;,";

// The last absolute path in a line, since a shell puts the script's path first; empty if there is
// none.
std::string LastPathOf(const std::string& line) {
    std::string path;
    for (std::size_t start = line.find('/'); start != std::string::npos;) {
        const std::size_t end = std::min(line.find_first_of(kAfterPath, start), line.size());
        if (start == 0 || kBeforePath.find(line[start - 1]) != std::string_view::npos) {
            path = line.substr(start, end - start);
        }
        start = line.find('/', end);
    }
    return path;
}

bool IsWritableInSandbox(const std::string& path) {
    return std::any_of(
        Kernel::kWritableDirectories.begin(), Kernel::kWritableDirectories.end(),
        [&path](const std::string& directory) { return path.starts_with(directory + "/"); });
}

// By permissions alone: of the file or, if it is missing, of its directory.
bool MayWrite(const std::string& path, const RunUser& user) {
    struct stat status{};
    if (::stat(path.c_str(), &status) != 0 &&
        ::stat(path.substr(0, path.rfind('/') + 1).c_str(), &status) != 0) {
        return false;
    }
    if (status.st_uid == user.user) {
        return (status.st_mode & S_IWUSR) != 0;
    }
    const bool isInGroup = status.st_gid == user.group ||
                           std::count(user.groups.begin(), user.groups.end(), status.st_gid) > 0;
    return (status.st_mode & (isInGroup ? S_IWGRP : S_IWOTH)) != 0;
}

}  // namespace

std::vector<std::string> FilesRefusedBySandbox(const std::string& standardError,
                                               const RunUser& user) {
    std::vector<std::string> files;
    std::istringstream lines(standardError);
    for (std::string line; std::getline(lines, line);) {
        const std::string path = line.find(kDenied) == std::string::npos ? "" : LastPathOf(line);
        if (!path.empty() && !IsWritableInSandbox(path) && MayWrite(path, user) &&
            std::find(files.begin(), files.end(), path) == files.end()) {
            files.push_back(path);
        }
    }
    return files;
}

void JudgeConfinement(PluginRun& run) {
    const std::string subject = "plugin " + run.plugin;
    if (run.memoryKills > 0) {
        run.findings.push_back(
            {Severity::Error, subject,
             "the kernel killed " + Counted(run.memoryKills, "process", "processes") +
                 " in the plugins' group for lack of memory" +
                 (run.memoryLimitKB == 0
                      ? ""
                      : ", at its limit of " + SizeText(run.memoryLimitKB * 1024)),
             "make it use less memory, or raise sentrel.plugin_memory_limit_MB"});
    }
    if (!run.sandboxUser) {
        return;
    }
    for (const std::string& file : FilesRefusedBySandbox(run.end.error.text, *run.sandboxUser)) {
        run.findings.push_back(
            {Severity::Warning, subject, "the sandbox denied writing to " + file,
             "write below /tmp, /var/tmp or /dev, or lift its sandbox: sentrelctl config set " +
                 run.plugin + ".sandbox false"});
    }
}

}  // namespace Ctl
