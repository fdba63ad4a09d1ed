#include "ctl/host/host.h"

#include "ctl/show/failure.h"
#include "platform/sys/host_root.h"
#include "store/report_name.h"

#include <cerrno>

#include <unistd.h>

namespace Ctl {

Host HostOf(const GivenOptions& options) {
    Host host{.now = std::chrono::system_clock::now(),
              .root = options.Value("--root"),
              .reportDirectory = options.Value("--reports"),
              .hasNamedReports = options.Has("--reports"),
              .isOffline = options.Has("--offline"),
              .apiUrl = options.Has("--api") ? options.Value("--api") : std::string(kDefaultApiUrl),
              .tokenFile = options.Value("--token-file")};
    std::string& reports = host.reportDirectory;
    if (!host.hasNamedReports) {
        reports = Sentrel::kReportDirectory;
    }
    if (reports.starts_with('/')) {
        reports = Sys::HostPath(reports);
    }
    reports += reports.ends_with('/') ? "" : "/";
    return host;
}

std::string RequireReportDirectory(const Host& host) {
    const std::string& directory = host.reportDirectory;
    if (::access(directory.c_str(), R_OK | X_OK) != 0) {
        const int errorNumber = errno;
        throw Failure("cannot read the report directory " + directory, errorNumber,
                      errorNumber == EACCES ? "run this as root, or as a member of its group"
                                            : "name the daemon's (its option -r) with --reports");
    }
    return directory;
}

}  // namespace Ctl
