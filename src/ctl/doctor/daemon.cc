// "doctor": the daemon's process, and whether it runs with the current files.
#include "ctl/doctor/subjects.h"
#include "ctl/host/listening_sockets.h"
#include "ctl/show/durations.h"
#include "ctl/show/times.h"
#include "ctl/show/words.h"
#include "platform/bindings/metadata_writer.h"
#include "platform/sys/host_root.h"
#include "plugins/discovery.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace Ctl {

namespace {

constexpr const char* kRestart = "systemctl restart sentrel";
constexpr const char* kSubject = "daemon";

// The finding when no sentrel process holds the port.
Finding ExplainNoDaemon(const Host& host) {
    const std::string port = std::to_string(host.intakePort);
    const std::optional<std::string> root =
        host.portHolder ? OtherRootOf(host.portHolder->pid) : std::nullopt;
    if (root) {
        return {Severity::Error, kSubject,
                "the intake port " + port + " is held by process " +
                    std::to_string(host.portHolder->pid) + ", the sentrel of the host root " +
                    *root,
                "use --root " + *root + ", or stop that sentrel and start this host's"};
    }
    if (host.portHolder) {
        return {Severity::Error, kSubject,
                "the intake port " + port + " is held by process " +
                    std::to_string(host.portHolder->pid) + " (" + host.portHolder->name +
                    "), not by sentrel, which cannot start",
                "terminate that process, or set another http_port, then: " + std::string(kRestart)};
    }
    const bool isHeld = host.intakePort > 0 && host.intakePort <= 65535 &&
                        !FindListeningSockets(static_cast<std::uint16_t>(host.intakePort)).empty();
    if (isHeld) {
        throw CannotInspect("cannot see which process listens on port " + port +
                            ": permission denied");
    }
    return {Severity::Error, kSubject, "nothing is listening on port " + port,
            "systemctl start sentrel; if it does not start: journalctl -u sentrel"};
}

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

void CheckDaemon(const Host& host, Findings& findings) {
    if (!host.settingsProblem.empty() && !host.daemon) {
        findings.push_back({.severity = Severity::Error,
                            .subject = kSubject,
                            .text = "cannot start: " + host.settingsProblem,
                            .remedy = "fix that, then: systemctl start sentrel",
                            .followsFrom = "entry sentrel"});
        return;
    }
    if (!host.daemon) {
        findings.push_back(ExplainNoDaemon(host));
        return;
    }
    if (host.daemon->isStopped) {
        const std::string pid = std::to_string(host.daemon->pid);
        findings.push_back(
            {Severity::Error, kSubject,
             "process " + pid + " is stopped by a signal: it launches, stores and answers nothing",
             "kill -CONT " + pid});
        return;
    }
    const auto age =
        std::chrono::duration_cast<std::chrono::seconds>(host.now - host.daemon->started);
    findings.push_back({Severity::Good, kSubject,
                        "process " + std::to_string(host.daemon->pid) + " of " +
                            NameOfUser(host.user.user) + ", since " +
                            UtcText(host.daemon->started) + " (" + DurationText(age) + ")",
                        ""});
}

void CheckFreshness(const Host& host, Findings& findings) {
    if (!host.daemon) {
        return;
    }
    std::vector<std::string> newer;
    for (const char* tree : {"/usr/lib/korvex/tabulon/", "/etc/korvex/tabulon/"}) {
        for (const char* folder : {"oru/health", "oru/authn", "oru_dev_only/health"}) {
            AddNewer(Sys::HostPath(std::string(tree) + folder), host.daemon->started, newer);
        }
    }
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
         (areBroken ? "correct the settings first, then: " : "") + std::string(kRestart)});
}

}  // namespace Ctl
