// Judges a run: adds its findings.
#include "ctl/plugin_run/confinement.h"
#include "ctl/plugin_run/result.h"
#include "ctl/post/intake_answer.h"
#include "ctl/reports/state.h"
#include "ctl/show/durations.h"
#include "ctl/show/times.h"
#include "ctl/show/words.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include <signal.h>
#include <string.h>

namespace Ctl {

namespace {

constexpr int kStored = 200;
constexpr std::string_view kUnknown = "UNKNOWN";

void Tell(PluginRun& run, Severity severity, std::string text, std::string remedy) {
    run.findings.push_back({severity, "plugin " + run.plugin, std::move(text), std::move(remedy)});
}

void JudgeEnd(PluginRun& run) {
    const PluginEnd& end = run.end;
    const std::string look = end.error.bytes > 0 ? "its standard error may give the reason"
                                                 : "make it write the reason to standard error";
    if (end.asked == PluginEnd::Asked::Interrupted) {
        Tell(run, Severity::Error,
             "the run was interrupted" +
                 std::string(end.wasKilled ? ", and the plugin did not exit on SIGTERM" : ""),
             "run it again without interrupting it");
    } else if (end.wasKilled) {
        Tell(run, Severity::Error,
             "did not exit within " + DurationText(kEndPatience) + " of SIGTERM",
             "make it exit on SIGTERM; in production it would keep running until \"sentrelctl "
             "group kill\" kills it");
    } else if (end.asked == PluginEnd::Asked::TimeWasOver) {
        Tell(run, end.signal != 0 || end.exitStatus != 0 ? Severity::Error : Severity::Warning,
             "ran longer than " + DurationText(run.timeout) + " and was sent SIGTERM",
             "make it exit sooner, for example with a timeout on what it waits for");
    } else if (end.signal == SIGKILL && run.memoryKills == 0) {
        Tell(run, Severity::Error, "killed by a SIGKILL that sentrelctl did not send",
             "check the kernel log for an out-of-memory kill; if it was killed at once, somebody "
             "may have written to cgroup.kill, after which some kernels kill every process that "
             "starts in the group: remove the group with rmdir, then run \"sentrelctl group "
             "ensure\"");
    } else if (end.signal != 0) {
        Tell(run, Severity::Error, "killed by " + NameOfSignal(end.signal), look);
    }
    if (end.signal == 0 && end.exitStatus != 0) {
        Tell(run, Severity::Error, "exited with status " + std::to_string(end.exitStatus), look);
    }
}

void JudgeLeft(PluginRun& run) {
    const std::vector<LeftProcess>& left = run.end.left;
    if (left.empty()) {
        return;
    }
    std::vector<std::string> names;
    names.reserve(left.size());
    for (const LeftProcess& process : left) {
        names.push_back(process.name + " (" + std::to_string(process.pid) + ")");
    }
    const bool allEnded = std::all_of(left.begin(), left.end(),
                                      [](const LeftProcess& process) { return process.hasEnded; });
    Tell(run, Severity::Warning,
         "left processes running: " + Abridged(names) +
             (allEnded ? "; sentrelctl killed them"
                       : "; sentrelctl could not kill them: see \"sentrelctl group show\""),
         "make it wait for the processes that it starts; in production they would keep running "
         "until \"sentrelctl group kill\" kills them");
}

void ReportNothingPosted(PluginRun& run) {
    std::string remedy = run.end.error.bytes > 0 ? "its standard error may give the reason; " : "";
    remedy += "it must POST to http://localhost:" + std::to_string(run.port) + "/" + run.plugin +
              ", the URL after -u with its name added; see sentrel-plugin(7)";
    Tell(run, Severity::Error,
         run.intake.empty() ? "posted no report" : "the daemon has stored no report from it",
         remedy);
    if (!run.otherNames.empty()) {
        Tell(run, Severity::Warning,
             "reports with other names were stored during the run: " + Joined(run.otherNames),
             "if this plugin posted them, name them " + run.plugin +
                 ", or begin their names with \"" + run.plugin + ".\"");
    }
}

// A check that could not determine the state: an error if it wrote to standard error.
void ReportUnknown(PluginRun& run, const std::string& report) {
    const bool complains = run.end.error.bytes > 0;
    Tell(run, complains ? Severity::Error : Severity::Warning,
         report + "says UNKNOWN" + (complains ? ", and it wrote to standard error" : ""),
         complains ? "its standard error may give the reason"
                   : "its reason says what it could not determine");
}

// Whether "list" would show it as STALE already.
bool IsStaleAtOnce(const PluginRun& run, const PostJudgement& judged) {
    return judged.age && (*judged.age < -kToleratedLead ||
                          (run.period.count() != 0 && *judged.age * 2 > run.period * 3));
}

void JudgePosts(PluginRun& run) {
    const auto good = std::count_if(run.posts.begin(), run.posts.end(),
                                    [](const PostJudgement& post) { return post.IsGood(); });
    if (run.posts.empty()) {
        if (run.end.asked != PluginEnd::Asked::Interrupted) {
            ReportNothingPosted(run);
        }
        return;
    }
    const Severity severity = good == 0 ? Severity::Error : Severity::Warning;
    for (const PostJudgement& judged : run.posts) {
        const std::string report = "its report \"" + judged.post.name + "\" ";
        if (judged.post.answer != kStored) {
            Tell(run, severity, report + "was " + RefusalText(judged.post.answer),
                 ExplainAnswer(judged.post.answer).advice);
        } else if (!judged.problems.empty()) {
            Tell(run, severity, report + "is invalid: " + Joined(judged.problems),
                 "fix it; see sentrel-report(5)");
        } else if (!judged.isOfPlugin) {
            Tell(run, severity, report + "is not named after the plugin",
                 "name it " + run.plugin + ", or begin its name with \"" + run.plugin + ".\"");
        } else if (!judged.post.isServed) {
            Tell(run, Severity::Error, report + "is stored, but not served: its link is missing",
                 "see the report directory: sentrelctl doctor");
        } else if (IsStaleAtOnce(run, judged)) {
            Tell(run, Severity::Error,
                 report + "is already STALE: its time is " +
                     (*judged.age < std::chrono::seconds(0) ? "in the future"
                                                            : AgeText(judged.age) + " ago"),
                 "set \"time\" to the time of the run, in UTC: date -u +%FT%TZ");
        } else if (judged.state == kUnknown) {
            ReportUnknown(run, report);
        }
    }
}

}  // namespace

std::string NameOfSignal(int signal) {
    const char* const name = ::sigabbrev_np(signal);
    return name != nullptr ? "SIG" + std::string(name) : "signal " + std::to_string(signal);
}

void JudgeRun(PluginRun& run) {
    JudgeConfinement(run);
    JudgeEnd(run);
    JudgeLeft(run);
    JudgePosts(run);
}

}  // namespace Ctl
