// The configuration of a wrapped check: /etc/korvex/sentrel/wrap/NAME.json, one JSON object,
// comments allowed.
//
//   {
//       "command": ["/usr/lib/nagios/plugins/check_disk", "-p", "/"],
//       "timeLimit": 20,
//       "environment": {"LC_ALL": "C.UTF-8"},
//       "exitStatus": {"3": "NONE"}
//   }
//
// The command is run without a shell, for 1 to 3600 seconds, with PATH, LC_ALL=C and what
// "environment" adds. An exit status that is not named means 0 OK, 1 WARNING, 2 ERROR or
// 3 UNKNOWN.
#pragma once

#include "sentrel_check/report.h"

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

namespace Wrap {

struct Configuration {
    std::vector<std::string> command;  // begins with the absolute path of the program
    std::chrono::seconds timeLimit{20};
    std::map<std::string, std::string> environment{{"LC_ALL", "C"},
                                                   {"PATH", "/usr/sbin:/usr/bin:/sbin:/bin"}};
    std::map<int, SentrelCheck::Status> exitStatus{{0, SentrelCheck::Status::Ok},
                                                   {1, SentrelCheck::Status::Warning},
                                                   {2, SentrelCheck::Status::Error},
                                                   {3, SentrelCheck::Status::Unknown}};
};

// The file and its directory must belong to `owner` and be writable by nobody else, since they name
// the command to run. Throws std::runtime_error, whose text names the file, the fault and what to
// do.
Configuration ReadConfiguration(const std::string& path, uid_t owner);

}  // namespace Wrap
