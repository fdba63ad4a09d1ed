#include "ctl/plugins/launches.h"

#include "ctl/plugins/times.h"
#include "ctl/show/durations.h"

#include <algorithm>
#include <system_error>

namespace Ctl {

using Sentrel::RunState;
using std::chrono::seconds;
using std::chrono::system_clock;

namespace {

constexpr const char* kRestart = "systemctl restart sentrel";

std::string Between(system_clock::time_point start, system_clock::time_point end) {
    return DurationText(std::chrono::duration_cast<seconds>(end - start));
}

std::string ReasonText(const Sentrel::PluginState& known) {
    return known.error == 0 ? "refused; see the daemon's log"
                            : std::generic_category().message(known.error);
}

}  // namespace

NextLaunch FindNextLaunch(const SurveyedPlugin& plugin, const Host& host,
                          const PluginReports& reports) {
    if (!host.state) {
        return {EstimateNextLaunch(plugin, host, reports), /*isEstimate=*/true};
    }
    const Sentrel::PluginState* const known = host.state->Find(plugin.Name());
    return {known == nullptr ? std::nullopt : std::optional(known->nextLaunch), false};
}

std::string NextText(const NextLaunch& next, system_clock::time_point now) {
    if (!next.time) {
        return "-";
    }
    return (next.isEstimate ? "~" : "") + Between(now, std::max(now, *next.time));
}

std::string_view NameOf(RunState run) {
    switch (run) {
        case RunState::None:
            break;
        case RunState::Running:
            return "running";
        case RunState::Ended:
            return "ended";
        case RunState::Terminated:
            return "terminated";
        case RunState::MemoryKill:
            return "out-of-memory kill";
        case RunState::NotStarted:
            return "not started";
    }
    return "none";
}

std::string LastRunText(const Sentrel::PluginState& known, system_clock::time_point now) {
    if (!known.start) {
        return "none";
    }
    if (known.run == RunState::NotStarted) {
        return "not started: " + ReasonText(known);
    }
    if (!known.end) {
        return (known.run == RunState::Terminated ? "sent SIGTERM, still running for "
                                                  : "running for ") +
               Between(*known.start, now);
    }
    return std::string(NameOf(known.run)) + " after " + Between(*known.start, *known.end);
}

std::vector<Finding> CheckLaunches(const std::string& subject, const SurveyedPlugin& plugin,
                                   const Host& host) {
    if (!host.state) {
        return {};
    }
    const Sentrel::PluginState* const known = host.state->Find(plugin.Name());
    if (known == nullptr) {
        return {{Severity::Warning, subject,
                 "unknown to the running daemon, which finds plugins only when it starts",
                 kRestart}};
    }
    std::vector<Finding> findings;
    if (known->queue != plugin.entry.info.frequency) {
        findings.push_back({Severity::Warning, subject,
                            "the running daemon still has it in another queue than \"" +
                                std::string(QueueOf(plugin)) + "\"",
                            kRestart});
    }
    if (known->run == RunState::NotStarted) {
        findings.push_back(
            {.severity = Severity::Error,
             .subject = subject,
             .text = "the daemon could not launch it: " + ReasonText(*known),
             .remedy = "see why in the log: journalctl SENTREL_PLUGIN=" + plugin.Name(),
             .followsFrom = known->error == 0 ? "group" : subject});
    }
    if (known->run == RunState::Terminated && known->start && !known->end) {
        findings.push_back(
            {Severity::Warning, subject,
             "has not exited since the daemon sent it SIGTERM; it has been running for " +
                 Between(*known->start, host.now),
             "make it exit on SIGTERM; \"sentrelctl group kill\" kills it when it has outlived its "
             "run"});
    }
    if (known->memoryKill) {
        const bool isLastRun = known->run == RunState::MemoryKill;
        findings.push_back({isLastRun ? Severity::Error : Severity::Warning, subject,
                            "the kernel killed its processes for lack of memory " +
                                Between(*known->memoryKill, host.now) + " ago" +
                                (isLastRun ? ", in its last run" : ""),
                            "make it use less memory, or raise sentrel.plugin_memory_limit_MB"});
    }
    return findings;
}

}  // namespace Ctl
