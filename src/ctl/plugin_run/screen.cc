// Writes a run for people.
#include "ctl/plugin_run/result.h"

#include "ctl/reports/state.h"
#include "ctl/show/durations.h"
#include "ctl/show/printable.h"
#include "ctl/show/sizes.h"
#include "ctl/show/table.h"
#include "ctl/show/terminal.h"
#include "ctl/show/words.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <ostream>
#include <string_view>

#include <signal.h>

namespace Ctl {

namespace {

constexpr std::string_view kIndent = "  ";
constexpr std::size_t kShownMetrics = 20;
constexpr int kStored = 200;

std::string EndText(const PluginEnd& end) {
    std::string how =
        end.signal != 0 ? NameOfSignal(end.signal) : "exit " + std::to_string(end.exitStatus);
    if (end.asked == PluginEnd::Asked::Not) {
        return how;
    }
    const std::string why =
        end.asked == PluginEnd::Asked::TimeWasOver ? "timed out" : "interrupted";
    if (end.wasKilled) {
        return how + ": " + why + ", and did not exit on SIGTERM";
    }
    return how + ": " + why + (end.signal == SIGTERM ? "" : ", and was sent SIGTERM");
}

// The output itself was shown while the plugin ran.
std::string SizeOf(const PluginOutput& written) {
    return written.bytes == 0
               ? "nothing"
               : SizeText(written.bytes) +
                     (written.bytes > written.text.size()
                          ? ", of which the first " + SizeText(written.text.size()) + " are shown"
                          : "");
}

void WriteFacts(const PluginRun& run, std::ostream& output) {
    const PluginEnd& end = run.end;
    Table facts({{}, {}});
    facts.Add({"Command", Joined(run.arguments, " ")});
    facts.Add({"Group", run.groupDirectory.empty()
                            ? "none; sentrelctl keeps a process table instead"
                            : run.groupDirectory});
    facts.Add({"Process", std::to_string(run.pid) + ", user " + run.user});
    facts.Add({"Ended", EndText(end)});
    facts.Add({"Time", MeasuredText(end.wallTime) + " of " + DurationText(run.timeout) +
                           ", processor " + MeasuredText(end.userTime) + " user, " +
                           MeasuredText(end.systemTime) + " system"});
    facts.Add({"Peak memory", (end.peakIsBound ? "at most " : "") + SizeText(end.peakKB * 1024)});
    if (run.groupPeakKB) {
        facts.Add(
            {"Group's peak", SizeText(*run.groupPeakKB * 1024) + " since the group was created"});
    }
    facts.Add({"Intake", run.intake.empty()
                             ? "sentrelctl itself, because nothing is listening on port " +
                                   std::to_string(run.port) + "; it stores nothing"
                             : run.intake + ", on port " + std::to_string(run.port)});
    facts.Add({"Output", SizeOf(end.output)});
    facts.Add({"Errors", SizeOf(end.error)});
    facts.Write(output);
}

void WriteIndented(std::string_view text, std::ostream& output) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string line(text.substr(0, end));
        std::replace(line.begin(), line.end(), '\t',
                     ' ');  // a tab would be replaced as unprintable
        output << kIndent << PrintableText(line) << '\n';
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

Colour ColourOf(std::string_view state) {
    return state == "OK"        ? Colour::Green
           : state == "WARNING" ? Colour::Yellow
           : state == "ERROR"   ? Colour::Red
                                : Colour::Plain;
}

std::string MetricsText(const std::vector<Metric>& metrics) {
    std::vector<std::string> texts;
    texts.reserve(metrics.size());
    for (const Metric& metric : metrics) {
        texts.push_back(metric.name + " " + DecimalText(metric.value) +
                        (metric.unit.empty() ? "" : " " + metric.unit));
    }
    return Abridged(texts, kShownMetrics);
}

void WritePost(const PostJudgement& judged, std::ostream& output) {
    const Post& post = judged.post;
    output << '\n'
           << "Report " << (post.name.empty() ? "without a name" : PrintableText(post.name))
           << ": ";
    if (!judged.state.empty()) {
        output << Paint(judged.state, ColourOf(judged.state)) << ", ";
    }
    if (post.answer == kStored) {
        output << SizeText(post.document.size()) << ", ";
    }
    output << (post.answer == 0 ? "cut off" : "answered with " + std::to_string(post.answer))
           << (judged.IsGood() ? ", good\n" : ", " + Paint("not good", Colour::Red) + "\n");
    WriteIndented(judged.reason, output);
    WriteIndented(MetricsText(judged.metrics), output);
}

// The worst state of the valid reports, such as "WARNING"; empty if that is OK or NONE.
std::string TroubleOf(const PluginRun& run) {
    std::string trouble;
    for (const PostJudgement& post : run.posts) {
        const std::optional<ReportState> state = ParseState(post.state);
        if (post.IsGood() && state && *state != ReportState::Ok && *state != ReportState::None &&
            (trouble.empty() || RankOf(*state) < RankOf(*ParseState(trouble)))) {
            trouble = post.state;
        }
    }
    return trouble;
}

std::string LastLine(const PluginRun& run) {
    if (WorstOf(run.findings) == Severity::Error) {
        return Paint("Not ready for production.", Colour::Red);
    }
    const auto warnings = static_cast<std::size_t>(std::count_if(
        run.findings.begin(), run.findings.end(),
        [](const Finding& finding) { return finding.severity == Severity::Warning; }));
    const std::string trouble = TroubleOf(run);
    if (run.period == std::chrono::seconds(0)) {
        return Paint("It works, but the daemon does not start it.", Colour::Yellow);
    }
    const std::string line = "Ready for production" +
                             (warnings == 0 ? "" : ", with " + Counted(warnings, "warning")) +
                             (trouble.empty() ? "." : "; it reports " + trouble + ".");
    return Paint(line, warnings == 0 && trouble.empty() ? Colour::Green : Colour::Yellow);
}

}  // namespace

void WriteRun(const PluginRun& run, std::ostream& output) {
    WriteFacts(run, output);
    for (const PostJudgement& post : run.posts) {
        WritePost(post, output);
    }
    output << '\n';
    if (!run.findings.empty()) {
        WriteFindings(run.findings, Shown::All, output);
    }
    output << LastLine(run) << '\n';
}

}  // namespace Ctl
