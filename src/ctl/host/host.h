// The host that a command looks at and the ways to it: what the command line says of them, and what
// a command has found out once for all its parts.
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
    // What the command line says.
    std::chrono::system_clock::time_point now = {};  // when the command began
    std::string root = {};                           // that --root names; empty without the option
    // Where the reports are: a path of this machine, not below the host root any more, that ends in
    // "/". The daemon's default unless --reports names another one or "doctor" has seen the
    // daemon's own.
    std::string reportDirectory = {};
    bool hasNamedReports = false;  // by --reports
    bool isOffline = false;        // reports are read from the directory, not through the API
    std::string apiUrl = {};
    std::string tokenFile =
        {};  // "-": standard input; empty: a token is signed here, where possible

    // What is found out, by the commands that need it; empty for the others.
    std::optional<DaemonProcess> daemon = {};
    std::optional<Sentrel::DaemonState> state = {};  // that the daemon keeps for this user to read
    RunUser user = {};                               // that plugins run as
    std::int32_t intakePort = 0;                     // of the settings; 0: they cannot be read
    std::string settingsProblem = {};                // then: why
    std::optional<ProcessStat> portHolder = {};      // of the intake port, whatever program it is
    std::string reportProblem = {};  // why the daemon stores no report; empty: it does
};

inline constexpr Option kOfflineOption = {"--offline", "",
                                          "read the report directory; no daemon is needed"};
inline constexpr Option kReportsOption = {
    "--reports", "DIR",
    "the report directory of the host, /var/lib/korvex/sentrel/reports by default",
    Completes::Directory};
inline constexpr Option kApiOption = {"--api", "URL", "the API, http://127.0.0.1:9984 by default"};
inline constexpr Option kTokenFileOption = {"--token-file", "FILE",
                                            "the token to call with; by default one made for this "
                                            "call, where this user may read the signing key",
                                            Completes::File};

inline constexpr std::string_view kDefaultApiUrl = "http://127.0.0.1:9984";

// What the options say; one that is not given, or not the command's, leaves the default. Looks at
// nothing.
Host HostOf(const GivenOptions& options);

// The report directory. Throws Failure when this user cannot read it.
std::string RequireReportDirectory(const Host& host);

}  // namespace Ctl
