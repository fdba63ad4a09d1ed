// Parses the command line that the daemon passes to a plugin, and finds the plugin's host root.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace SentrelCheck {

// The address for posting reports.
struct IntakeAddress {
    std::string host;  // "localhost", or an IPv4 or IPv6 address without brackets
    int port = 0;
};

struct CommandLine {
    std::string path;      // the plugin's path, without the host root
    std::string name;      // the last component of `path`: the name of the plugin and of its report
    int poolSizeMB = 0;    // memory shared by all plugins, in MiB
    IntakeAddress intake;  // from "-u"
    std::string logLevel;  // debug, info, warning, error or critical; empty if absent
};

class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Parses PATH "++group=sentrel-plugins,mem=N" "-u" "http://HOST:PORT" ["--loglevel=LEVEL"], the
// arguments of main including the program's own path. Throws UsageError, whose text says what is
// wrong and what is expected, if anything is missing, superfluous or malformed.
CommandLine ReadCommandLine(const std::vector<std::string>& arguments);

// The host root without a trailing slash, so empty for "/": `executable` without
// "/usr/lib/korvex/sentrel/plugins/bin/NAME" at its end. Also empty if it ends in anything else, as
// for a plugin run from its build directory.
std::string HostRootOf(std::string_view executable);

// The host root of the running program, from /proc/self/exe. For a script that is the interpreter's
// path, so this works for compiled plugins only.
std::string HostRoot();

}  // namespace SentrelCheck
