#include "ctl/group/kill_command.h"

#include "ctl/group/kill.h"
#include "ctl/group/location.h"
#include "ctl/show/durations.h"
#include "ctl/show/failure.h"
#include "ctl/show/table.h"
#include "ctl/show/words.h"
#include "platform/kernel/groups/groups.h"
#include "plugins/resource_group.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <optional>
#include <ostream>
#include <string>

namespace Ctl {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kMaxRows = 40;

std::chrono::seconds SecondsOf(const Member& member) {
    return std::chrono::duration_cast<std::chrono::seconds>(AgeOf(member.process));
}

std::string CountText(std::size_t count) { return Counted(count, "process", "processes"); }

// Throws Failure if a requested process was not killed.
void RequireSuccess(const KillOutcome& outcome, bool isForAll) {
    if (outcome.isOutrun) {
        throw Failure("killed " + CountText(outcome.ended.size()) +
                          ", but the group has more: they start faster than they are killed",
                      isForAll ? "stop the daemon, and run this again"
                               : "kill all at once: sentrelctl group kill --all");
    }
    if (!outcome.held.empty()) {
        const ProcessStat& first = outcome.held.front().process;
        throw Failure(CountText(outcome.held.size()) + " survived SIGKILL, for example " +
                          std::to_string(first.pid) + " (" + first.name +
                          "): blocked in the kernel, usually by an unresponsive disk or mount",
                      "fix that, and they exit");
    }
}

// `longest`: how long a process may run, in words.
void WriteOutcome(const KillOutcome& outcome, const std::string& longest, std::ostream& output) {
    Table table({{"PID", Table::Align::Right}, {"NAME"}, {"AGE", Table::Align::Right}});
    for (std::size_t row = 0; row < std::min(outcome.ended.size(), kMaxRows); ++row) {
        const Member& member = outcome.ended[row];
        table.Add({std::to_string(member.process.pid), member.process.name,
                   DurationText(SecondsOf(member))});
    }
    if (!outcome.ended.empty()) {
        table.Write(output);
        output << "\nKilled " << CountText(outcome.ended.size());
    } else {
        output << (outcome.spared == 0 ? "No process is in the group"
                                       : "No process has outlived its run");
    }
    if (outcome.spared != 0) {
        output << "; " << CountText(outcome.spared) << " may run on, for " << longest << " at most";
    }
    output << ".\n";
}

void WriteOutcomeJson(const KillOutcome& outcome, const std::string& directory,
                      std::ostream& output) {
    Json ended = Json::array();
    for (const Member& member : outcome.ended) {
        ended.push_back({{"pid", member.process.pid},
                         {"name", member.process.name},
                         {"ageSeconds", SecondsOf(member).count()}});
    }
    WriteJson({{"directory", directory}, {"ended", ended}, {"left", outcome.spared}}, output);
}

}  // namespace

void RunGroupKill(const Arguments& arguments, std::ostream& output) {
    const bool isForAll = arguments.options.Has("--all");
    const std::optional<DaemonProcess> daemon = FindDaemonIfAny();
    UseGroupLocation(FindGroupLocation(daemon));
    const std::string directory = Kernel::ShowGroup(Sentrel::kPluginGroupPath).directory;
    std::optional<std::chrono::seconds> longest;
    if (!isForAll) {
        longest = LongestRunTime(daemon);
    }
    const KillOutcome outcome = KillMembers(directory, longest);
    RequireSuccess(outcome, isForAll);
    if (arguments.options.Has("--json")) {
        WriteOutcomeJson(outcome, directory, output);
    } else {
        // the full time, even if the daemon has just started
        WriteOutcome(outcome, DurationText(LongestRunTime(std::nullopt)), output);
    }
}

}  // namespace Ctl
