// "doctor": whether the daemon runs with the current files.
#include "ctl/doctor/subjects.h"
#include "ctl/show/words.h"
#include "platform/bindings/metadata_writer.h"
#include "platform/sys/host_root.h"
#include "plugins/discovery.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <system_error>

namespace Ctl {

namespace {

// When the file's contents or name last changed; nothing if unknown.
std::optional<std::chrono::system_clock::time_point> ChangeTime(const std::filesystem::path& path) {
    struct stat status{};
    if (::lstat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return std::chrono::system_clock::time_point(
        std::chrono::seconds(status.st_ctim.tv_sec) +
        std::chrono::duration_cast<std::chrono::system_clock::duration>(
            std::chrono::nanoseconds(status.st_ctim.tv_nsec)));
}

// A time in the future proves nothing: the clock was set back since.
bool IsNewer(const std::filesystem::path& path, std::chrono::system_clock::time_point start) {
    const auto changed = ChangeTime(path);
    return changed && *changed > start && *changed <= std::chrono::system_clock::now();
}

// Adds the store files in `folder` that are newer than `start`, and the directory itself if a file
// was removed.
void AddNewer(const std::string& folder, std::chrono::system_clock::time_point start,
              std::vector<std::string>& newer) {
    const std::size_t before = newer.size();
    std::error_code error;  // the directory is missing, or another check reports the error
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        if (entry.path().extension() == ".json" && IsNewer(entry.path(), start)) {
            newer.push_back(entry.path().string());
        }
    }
    if (newer.size() == before && IsNewer(folder, start)) {
        newer.push_back(folder);
    }
}

}  // namespace

std::vector<std::string> StoreFilesNewerThanDaemon(const Host& host,
                                                   std::initializer_list<const char*> folders) {
    std::vector<std::string> newer;
    if (!host.daemon) {
        return newer;
    }
    for (const char* tree : {"/usr/lib/korvex/tabulon/", "/etc/korvex/tabulon/"}) {
        for (const char* folder : folders) {
            AddNewer(Sys::HostPath(std::string(tree) + folder), host.daemon->started, newer);
        }
    }
    return newer;
}

void CheckFreshness(const Host& host, Findings& findings) {
    if (!host.daemon) {
        return;
    }
    std::vector<std::string> newer =
        StoreFilesNewerThanDaemon(host, {"oru/health", "oru/authn", "oru_dev_only/health"});
    for (const char* path : {Sentrel::kPluginDirectory, Quon::Bindings::kMetadataPath}) {
        if (IsNewer(Sys::HostPath(path), host.daemon->started)) {
            newer.push_back(Sys::HostPath(path));
        }
    }
    if (newer.empty()) {
        findings.push_back({Severity::Good, "changes",
                            "the daemon runs with the current settings, plugins and metadata", ""});
        return;
    }
    // a restart now would leave the host without a daemon
    const bool areBroken = std::any_of(findings.begin(), findings.end(), [](const Finding& other) {
        return other.severity == Severity::Error &&
               (other.subject.starts_with("entry ") || other.subject.starts_with("sentrel."));
    });
    findings.push_back(
        {Severity::Warning, "changes",
         Abridged(newer) + " changed after the daemon read " + (newer.size() == 1 ? "it" : "them"),
         std::string(areBroken ? "correct the settings first, then: " : "") +
             "systemctl restart sentrel"});
}

}  // namespace Ctl
