// All that one run of a plugin has shown, what is to be said of it, and how it is told.
#pragma once

#include "ctl/host/run_user.h"
#include "ctl/plugin_run/process.h"
#include "ctl/plugin_run/reports.h"
#include "ctl/show/finding.h"

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace Ctl {

struct PluginRun {
    std::string plugin;
    std::vector<std::string> arguments;  // the command line
    std::string user;                    // that it ran as
    std::string groupDirectory;          // empty: its group was a table in this process
    std::optional<std::uint64_t>
        groupPeakKB;                     // since the group was made, where the kernel keeps it
    std::uint64_t memoryLimitKB = 0;     // of the group; 0: none
    std::uint64_t memoryKills = 0;       // by the kernel in the group, during the run
    std::optional<RunUser> sandboxUser;  // whom it ran as in the sandbox; nothing outside it
    pid_t pid = 0;
    std::chrono::seconds timeout{};
    PluginEnd end;
    std::int32_t port = 0;  // of the intake
    std::string intake;     // what listened there before the run; empty: nothing, so the tool did
    std::vector<PostJudgement> posts;
    std::vector<std::string> otherNames;  // of reports that were stored meanwhile, by whomever
    std::vector<Finding> findings;        // what was known before the run, then what it has shown
};

// "SIGTERM", or "signal 40" for those without a name.
std::string NameOfSignal(int signal);

// Adds what the run has shown. An error: it did not end with status 0, or has posted no good
// report.
void JudgeRun(PluginRun& run);

// For people; the last line says whether it would do in production.
void WriteRun(const PluginRun& run, std::ostream& output);

// For programs, in one line.
void WriteRunJson(const PluginRun& run, std::ostream& output);

}  // namespace Ctl
