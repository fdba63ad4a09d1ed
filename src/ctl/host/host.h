// The host that a command inspects: the options of its command line about the host and the API, and
// facts that the command has found out once for all its parts.
#pragma once

#include "ctl/command/command.h"
#include "ctl/host/daemon_process.h"
#include "ctl/host/process_stat.h"
#include "ctl/host/run_user.h"
#include "state/state_reader.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Ctl {

struct Host {
    // From the command line.
    std::chrono::system_clock::time_point now = {};  // when the command began
    std::string root = {};  // the value of --root; empty without the option
    // The report directory: a path of this machine that includes the host root and ends in "/". The
    // daemon's default, unless --reports names another or "doctor" has found the daemon's own.
    std::string reportDirectory = {};
    bool hasNamedReports = false;  // by --reports
    bool isOffline = false;        // reports are read from the directory, not through the API
    bool mayBeOffline = true;      // the command has the option --offline
    std::string apiUrl = {};
    // The reports come through the API at another address, so they may be another host's: this
    // host's plugins, silences and daemon say nothing about them.
    bool isElsewhere = false;
    std::string tokenFile =
        {};  // "-": standard input; empty: a token is signed here, where possible

    // Found out by the commands that need it; empty for others.
    std::optional<DaemonProcess> daemon = {};
    std::optional<Sentrel::DaemonState> state =
        {};                            // from the daemon's state file, if this user may read it
    RunUser user = {};                 // the user that plugins run as
    std::int32_t intakePort = 0;       // from the settings; 0: they cannot be read
    std::string settingsProblem = {};  // why they cannot be read
    std::optional<ProcessStat> portHolder =
        {};                          // the process on the intake port, whatever its program
    std::string reportProblem = {};  // why the daemon cannot store reports; empty: it can
};

inline constexpr Option kOfflineOption = {"--offline", "",
                                          "read the report directory; no daemon is needed"};
inline constexpr Option kReportsOption = {
    "--reports", "DIR",
    "the report directory of the host, /var/lib/korvex/sentrel/reports by default",
    Completes::Directory};
inline constexpr Option kApiOption = {"--api", "URL", "the API, http://127.0.0.1:9984 by default"};
inline constexpr Option kTokenFileOption = {"--token-file", "FILE",
                                            "the file with the token; by default a token is signed "
                                            "for each call, if this user may read the signing key",
                                            Completes::File};

inline constexpr std::string_view kDefaultApiUrl = "http://127.0.0.1:9984";

// The host of these options; an option that is not given, or not one of the command's, leaves the
// default. Inspects nothing. Throws UsageError for --api with --offline.
Host HostOf(const GivenOptions& options);

// The report directory. Throws Failure when this user cannot read it.
std::string RequireReportDirectory(const Host& host);

}  // namespace Ctl
