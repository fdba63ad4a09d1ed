#include "ctl/sight/status.h"

#include "ctl/doctor/command.h"
#include "ctl/host/daemon_process.h"
#include "ctl/host/run_user.h"
#include "ctl/show/durations.h"
#include "ctl/show/json_output.h"
#include "ctl/show/printable.h"
#include "ctl/show/table.h"
#include "ctl/show/times.h"
#include "ctl/show/words.h"
#include "ctl/sight/daemon_text.h"
#include "ctl/sight/host_view.h"
#include "ctl/sight/report_json.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <ostream>

namespace Ctl {

namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr std::size_t kMaxWorst = 4;     // lines for reports that are not OK
constexpr std::size_t kMaxLaunches = 3;  // next launches shown

constexpr std::array<Option, 5> kOptions = {
    {kJsonOption, kOfflineOption, kReportsOption, kApiOption, kTokenFileOption}};

bool IsWell(const ViewedReport& report) { return IsFine(report.judged); }

// Whether the report needs no attention.
bool IsQuiet(const ViewedReport& report) { return IsWell(report) || report.judged.silence; }

// "11: 1 ERROR, 10 OK", "11, all OK", or why the reports cannot be read.
std::string ReportsText(const HostView& view) {
    if (!view.problem.empty()) {
        return "not visible: " + view.problem;
    }
    const bool areOk = std::all_of(view.reports.begin(), view.reports.end(), IsWell);
    const std::string count = std::to_string(view.reports.size());
    return view.reports.empty() ? "none"
                                : count + (areOk ? ", all OK" : ": " + CountsText(view.reports));
}

std::string LaunchesText(const Host& host, const HostView& view) {
    std::vector<std::string> words;
    for (const ViewedLaunch& launch : view.launches) {
        if (words.size() < kMaxLaunches && launch.at >= view.now) {
            const auto left = std::chrono::ceil<std::chrono::seconds>(launch.at - view.now);
            words.push_back(launch.plugin + " in " + DurationText(left));
        }
    }
    if (!words.empty()) {
        return Joined(words);
    }
    return host.daemon || host.state ? "no launch is planned" : "not known";
}

// What "doctor" says of this host; nothing of another one, seen through its API.
struct Diagnosis {
    std::size_t problems = 0;
    std::size_t skipped = 0;  // checks that this user may not make
};

Diagnosis Diagnose(const Host& host) {
    Diagnosis diagnosis;
    if (host.isElsewhere) {
        return diagnosis;
    }
    for (const Finding& finding : Inspect(host)) {
        diagnosis.problems += finding.severity >= Severity::Warning ? 1 : 0;
        diagnosis.skipped += finding.isSkipped ? 1 : 0;
    }
    return diagnosis;
}

std::string DoctorText(const Host& host, const Diagnosis& diagnosis) {
    if (host.isElsewhere) {
        return "not run; it inspects only the local host";
    }
    std::string text = diagnosis.problems == 0
                           ? "no problems found"
                           : Counted(diagnosis.problems, "problem") + "; run \"sentrelctl doctor\"";
    if (diagnosis.skipped > 0) {
        text += "; " + Counted(diagnosis.skipped, "check") + " skipped: run as root";
    }
    return text;
}

void WriteWorst(const HostView& view, std::ostream& output) {
    std::vector<const ViewedReport*> worst;
    for (const ViewedReport& report : view.reports) {
        if (!IsWell(report)) {
            worst.push_back(&report);
        }
    }
    std::stable_partition(worst.begin(), worst.end(),
                          [](const ViewedReport* report) { return !IsQuiet(*report); });
    const std::size_t shown = worst.size() > kMaxWorst ? kMaxWorst - 1 : worst.size();
    Table table({{}, {}, {}, {.heading = {}, .isCut = true}, {{}, Table::Align::Right}});
    for (const ViewedReport* report : std::span(worst).first(shown)) {
        const ReportState state = report->judged.state;
        const bool isQuiet = IsQuiet(*report);
        const Colour colour = isQuiet ? Colour::Faint : ColourOf(state);
        const Colour usual = isQuiet ? Colour::Faint : Colour::Plain;
        table.Add({{"  " + std::string(TerminalMarkOf(state)), colour},
                   {report->judged.report.name, usual},
                   {std::string(NameOf(state)), colour},
                   {RemarkOn(*report, view.now), usual},
                   {report->judged.age ? AgeText(report->judged.age) : "-", usual}});
    }
    table.Write(output);
    if (shown < worst.size()) {
        output << "  and " << worst.size() - shown << " more; run \"sentrelctl list\"\n";
    }
}

OrderedJson ToJson(const Host& host, const HostView& view, const Diagnosis& diagnosis) {
    OrderedJson object = {{"daemon", nullptr}};
    if (host.daemon) {
        object["daemon"] = {{"pid", host.daemon->pid},
                            {"started", UtcText(host.daemon->started)},
                            {"user", NameOfUser(host.user.user)},
                            {"intakePort", FindIntakePortOf(host.daemon->pid, host.intakePort)}};
    }
    OrderedJson states = OrderedJson::object();
    OrderedJson worst = OrderedJson::array();
    for (const ViewedReport& report : view.reports) {
        const std::string state(NameOf(report.judged.state));
        states[state] = states.value(state, 0) + 1;
        if (!IsWell(report)) {
            worst.push_back(
                {{"name", report.judged.report.name}, {"state", state}, {"reason", report.reason}});
            if (report.judged.silence) {
                worst.back()["silence"] = SilenceJson(*report.judged.silence);
            }
        }
    }
    OrderedJson launches = OrderedJson::array();
    for (const ViewedLaunch& launch : view.launches) {
        launches.push_back({{"plugin", launch.plugin}, {"at", UtcText(launch.at)}});
    }
    object["states"] = std::move(states);
    object["worst"] = std::move(worst);
    object["next"] = std::move(launches);
    object["problems"] = diagnosis.problems;
    object["skipped"] = diagnosis.skipped;
    if (!view.problem.empty()) {
        object["unseen"] = view.problem;
    }
    return object;
}

int RunStatus(const Arguments& arguments, std::ostream& output) {
    const Host host = HostInView(arguments.options);
    const HostView view = ViewHost(host);
    const Diagnosis diagnosis = Diagnose(host);
    const bool isRunning = host.daemon || host.isElsewhere;  // the API of the other host answered
    const bool isFine = isRunning && view.problem.empty() && diagnosis.problems == 0 &&
                        std::all_of(view.reports.begin(), view.reports.end(), IsQuiet);
    if (arguments.options.Has("--json")) {
        WriteJson(ToJson(host, view, diagnosis), output);
        return isFine ? 0 : 1;
    }
    output << "sentrel   " << PrintableText(DaemonText(host)) << '\n'
           << "reports   " << PrintableText(ReportsText(view)) << '\n';
    WriteWorst(view, output);
    output << "next      " << PrintableText(LaunchesText(host, view)) << '\n'
           << "doctor    " << DoctorText(host, diagnosis) << '\n';
    return isFine ? 0 : 1;
}

constexpr std::array<Command, 1> kCommands = {{
    {"status",
     "show the host at a glance",
     "Shows the daemon, how many reports are in each state, the worst with their reasons,\n"
     "the next launches, and how many problems \"doctor\" finds. Exits with 0 when everything\n"
     "is OK, and with 1 when something is not OK or not visible. Silenced reports do not\n"
     "count.\n",
     "sentrelctl status",
     kOptions,
     {},
     nullptr,
     RunStatus},
}};

}  // namespace

std::span<const Command> StatusCommands() { return kCommands; }

}  // namespace Ctl
