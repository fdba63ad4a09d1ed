// "doctor": the daemon's process.
#include "ctl/doctor/subjects.h"
#include "ctl/host/listening_sockets.h"
#include "ctl/show/durations.h"
#include "ctl/show/times.h"
#include "ctl/show/words.h"

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

}  // namespace Ctl
