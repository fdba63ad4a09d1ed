// Of "doctor": whether the timer that writes metrics can do its work.
#include "ctl/doctor/subjects.h"
#include "ctl/host/process_stat.h"
#include "platform/sys/host_root.h"
#include "platform/sys/read_file.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <string_view>

#include <unistd.h>

namespace Ctl {

namespace {

constexpr const char* kEnabledTimer =
    "/etc/systemd/system/timers.target.wants/sentrel-metrics.timer";
// Where an administrator may have changed the service.
constexpr const char* kOwnServices[] = {"/etc/systemd/system/sentrel-metrics.service",
                                        "/etc/systemd/system/sentrel-metrics.service.d"};
constexpr const char* kSettings = "/etc/default/sentrel-metrics";
constexpr std::string_view kSetting = "SENTREL_TEXTFILE_DIRECTORY=";
constexpr std::size_t kMaxSettings = 65536;

// The directory that the service writes to: the last one that is set counts.
std::string TextfileDirectory() {
    std::string directory = "/var/lib/prometheus/node-exporter";
    std::string text;
    (void)Sys::ReadRegularFile(Sys::HostPath(kSettings), kMaxSettings, text);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(kSetting)) {
            directory = line.substr(kSetting.size());
            std::erase(directory, '"');
        }
    }
    return directory;
}

bool NodeExporterRuns() {
    return std::ranges::any_of(ReadAllProcesses(), [](const auto& entry) {
        const std::string& name = entry.second.name;  // the kernel cuts it at 15 bytes
        return name.starts_with("prometheus-node") || name.starts_with("node_exporter");
    });
}

}  // namespace

void CheckMetricsTimer(const Host& /*host*/, Findings& findings) {
    struct stat link{};
    const bool isEnabled = ::lstat(Sys::HostPath(kEnabledTimer).c_str(), &link) == 0;
    const bool isChanged =
        StatOf(Sys::HostPath(kOwnServices[0])) || StatOf(Sys::HostPath(kOwnServices[1]));
    if (!isEnabled || isChanged) {
        return;
    }
    const std::string directory = Sys::HostPath(TextfileDirectory());
    if (!StatOf(directory)) {
        findings.push_back(
            {Severity::Warning, "metrics",
             "sentrel-metrics.timer is enabled, but writes nothing: " + directory + " is missing",
             "apt install prometheus-node-exporter, or set SENTREL_TEXTFILE_DIRECTORY in " +
                 Sys::HostPath(kSettings)});
    } else if (::geteuid() == 0 && !NodeExporterRuns()) {
        findings.push_back({Severity::Notice, "metrics",
                            "no node exporter is running to read the metrics in " + directory,
                            "systemctl start prometheus-node-exporter"});
    }
}

}  // namespace Ctl
