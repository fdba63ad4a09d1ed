// The result of one run of a plugin, its findings, and their output.
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
    std::string user;                    // the user that the plugin ran as
    std::string groupDirectory;          // empty: the group was a process table in this process
    std::optional<std::uint64_t>
        groupPeakKB;                  // since the group was created, if the kernel records it
    std::uint64_t memoryLimitKB = 0;  // of the group; 0: no limit
    std::uint64_t memoryKills = 0;  // processes that the kernel killed in the group during the run
    std::optional<RunUser>
        sandboxUser;  // the user that it ran as in the sandbox; unset without a sandbox
    pid_t pid = 0;
    std::chrono::seconds timeout{};
    std::chrono::seconds period{};  // from one run to the next; 0: the daemon does not launch it
    PluginEnd end;
    std::int32_t port = 0;  // the intake's
    std::string intake;     // the process that listened there; empty: none, so the tool listened
    std::vector<PostJudgement> posts;
    std::vector<std::string>
        otherNames;                 // reports of other names stored during the run, by any client
    std::vector<Finding> findings;  // those from before the run, then those of the run
};

// "SIGTERM", or "signal 40" for those without a name.
std::string NameOfSignal(int signal);

// Adds the findings of the run. It is an error if the plugin did not exit with status 0, or has not
// posted a valid report.
void JudgeRun(PluginRun& run);

// Writes the run for people; the last line says whether the plugin is ready for production.
void WriteRun(const PluginRun& run, std::ostream& output);

// Writes the run as one line of JSON.
void WriteRunJson(const PluginRun& run, std::ostream& output);

}  // namespace Ctl
