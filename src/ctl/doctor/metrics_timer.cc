// Of "doctor": whether the timer that writes metrics can do its work.
#include "ctl/doctor/subjects.h"
#include "platform/sys/host_root.h"

namespace Ctl {

namespace {

constexpr const char* kEnabledTimer =
    "/etc/systemd/system/timers.target.wants/sentrel-metrics.timer";
// Where an administrator may have named another directory.
constexpr const char* kOwnServices[] = {"/etc/systemd/system/sentrel-metrics.service",
                                        "/etc/systemd/system/sentrel-metrics.service.d"};
// Without it the service is skipped: its ConditionPathIsDirectory.
constexpr const char* kTextfileDirectory = "/var/lib/prometheus/node-exporter";

}  // namespace

void CheckMetricsTimer(const Host& /*host*/, Findings& findings) {
    struct stat link{};
    const bool isEnabled = ::lstat(Sys::HostPath(kEnabledTimer).c_str(), &link) == 0;
    const bool isChanged =
        StatOf(Sys::HostPath(kOwnServices[0])) || StatOf(Sys::HostPath(kOwnServices[1]));
    const std::string directory = Sys::HostPath(kTextfileDirectory);
    if (isEnabled && !isChanged && !StatOf(directory)) {
        findings.push_back(
            {Severity::Warning, "metrics",
             "sentrel-metrics.timer is enabled, but writes nothing: " + directory + " is missing",
             "apt install prometheus-node-exporter, or: systemctl disable --now "
             "sentrel-metrics.timer"});
    }
}

}  // namespace Ctl
