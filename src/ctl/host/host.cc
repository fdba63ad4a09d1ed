#include "ctl/host/host.h"

#include "ctl/command/command_line.h"
#include "ctl/show/failure.h"
#include "platform/sys/host_root.h"
#include "store/report_name.h"

#include <cerrno>

#include <unistd.h>

namespace Ctl {

Host HostOf(const GivenOptions& options) {
    if (options.Has("--offline") && options.Has("--api")) {
        throw UsageError("options \"--offline\" and \"--api\" exclude each other",
                         "leave one of them out");
    }
    Host host{.now = std::chrono::system_clock::now(),
              .root = options.Value("--root"),
              .reportDirectory = options.Value("--reports"),
              .hasNamedReports = options.Has("--reports"),
              .isOffline = options.Has("--offline"),
              .apiUrl = options.Has("--api") ? options.Value("--api") : std::string(kDefaultApiUrl),
              .tokenFile = options.Value("--token-file")};
    host.isElsewhere = host.apiUrl != kDefaultApiUrl;
    std::string& reports = host.reportDirectory;
    if (!host.hasNamedReports) {
        reports = Sentrel::kReportDirectory;
    }
    if (reports.starts_with('/') && !reports.starts_with(Sys::HostPath("/"))) {
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
                      errorNumber == EACCES
                          ? "run this as root, or as a member of its group"
                          : "name the daemon's directory (its option -r) with --reports");
    }
    return directory;
}

}  // namespace Ctl
