// The command line that the daemon gives to a plugin, and where the plugin's host root is.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace SentrelCheck {

// Where reports are posted to.
struct IntakeAddress {
    std::string host;  // "localhost", or an IPv4 or IPv6 address without brackets
    int port = 0;
};

struct CommandLine {
    std::string path;      // of the plugin, without the host root
    std::string name;      // the last component of `path`: the plugin's and its report's name
    int poolSizeMB = 0;    // memory that all plugins share, in MiB
    IntakeAddress intake;  // of "-u"
    std::string logLevel;  // debug, info, warning, error, critical; empty when not given
};

class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Reads PATH "++group=sentrel-plugins,mem=N" "-u" "http://HOST:PORT" ["--loglevel=LEVEL"], the
// arguments of main with the program's own at their front. Throws UsageError, whose text says what
// is wrong and what is expected, when anything is missing, additional or malformed.
CommandLine ReadCommandLine(const std::vector<std::string>& arguments);

// The directory below which the host's files are, without a slash at its end, so empty for "/":
// `executable` without "/usr/lib/korvex/sentrel/plugins/bin/NAME" at its end. Empty too when it
// ends in anything else, as for a plugin that is run from where it was built.
std::string HostRootOf(std::string_view executable);

// The same for the running program, by /proc/self/exe. Of a program that is run by an interpreter
// this is the interpreter, so it serves compiled plugins only.
std::string HostRoot();

}  // namespace SentrelCheck
