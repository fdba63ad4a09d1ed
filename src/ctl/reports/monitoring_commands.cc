// Implements "check", by the convention of monitoring plugins, and "metrics", as OpenMetrics text.
#include "ctl/reports/monitoring_commands.h"

#include "core/settings/settings.h"
#include "ctl/host/host.h"
#include "ctl/host/listening_sockets.h"
#include "ctl/host/port_holder.h"
#include "ctl/reports/metrics.h"
#include "ctl/reports/metrics_text.h"
#include "ctl/reports/state.h"
#include "ctl/show/failure.h"
#include "ctl/show/json_output.h"
#include "ctl/show/note.h"
#include "ctl/show/printable.h"
#include "platform/sys/atomic_file.h"
#include "platform/sys/host_root.h"
#include "state/state_reader.h"
#include "store/report_name.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <ostream>
#include <string>

#include <string.h>
#include <unistd.h>

namespace Ctl {

namespace {

constexpr mode_t kTextFileMode = 0644;  // the exporter runs as another user

constexpr std::array<Option, 5> kCheckOptions = {
    {kJsonOption, kOfflineOption, kReportsOption, kApiOption, kTokenFileOption}};
constexpr std::array<Option, 5> kMetricsOptions = {{
    {"--textfile", "FILE", "write to this file atomically instead of standard output",
     Completes::File},
    kOfflineOption,
    kReportsOption,
    kApiOption,
    kTokenFileOption,
}};

// The convention's exit statuses.
enum class CheckStatus { Ok = 0, Warning = 1, Critical = 2, Unknown = 3 };

struct Verdict {
    CheckStatus status = CheckStatus::Unknown;
    std::string text;             // of one report or of all
    std::string performanceData;  // in the convention's form; empty if there is none
};

CheckStatus StatusOf(ReportState state) {
    switch (state) {
        case ReportState::Ok:
            return CheckStatus::Ok;
        case ReportState::Warning:
            return CheckStatus::Warning;
        case ReportState::Error:
            return CheckStatus::Critical;
        default:
            return CheckStatus::Unknown;
    }
}

// UNKNOWN is worse than OK, and better than WARNING and CRITICAL.
int Severity(CheckStatus status) {
    constexpr int kSeverities[] = {0, 2, 3, 1};
    return kSeverities[static_cast<int>(status)];
}

const char* NameOf(CheckStatus status) {
    constexpr const char* kNames[] = {"OK", "WARNING", "ERROR", "UNKNOWN"};
    return kNames[static_cast<int>(status)];
}

// 'label'=value[unit];[warning];[critical]: quotes are doubled, "=" is not allowed, and only some
// units are known; any other unit is omitted.
std::string PerformanceData(const std::string& label, const Metric& metric) {
    constexpr const char* kUnits[] = {"s", "ms", "us", "%", "B", "KB", "MB", "GB", "TB"};
    std::string data = "'";
    for (const char byte : PrintableText(label)) {
        data += byte == '=' || byte == '|' ? '_' : byte;
        data += byte == '\'' ? "'" : "";
    }
    data += "'=" + DecimalText(metric.value);
    const bool isKnown =
        std::find(std::begin(kUnits), std::end(kUnits), metric.unit) != std::end(kUnits);
    data += isKnown ? metric.unit : "";
    if (metric.warning || metric.critical) {
        // a range "10:" alerts below 10, and "10" above it
        const bool isLowBad =
            metric.warning && metric.critical && *metric.critical < *metric.warning;
        for (const std::optional<double>& limit : {metric.warning, metric.critical}) {
            data += ";" + (limit ? DecimalText(*limit) + (isLowBad ? ":" : "") : "");
        }
    }
    return data;
}

// `isOnly`: it is the only report, so labels need not name it.
Verdict JudgeOne(const JudgedReport& row, bool isOnly) {
    Verdict verdict{StatusOf(row.state), row.report.name + " " + std::string(NameOf(row.state)),
                    ""};
    const std::string reason = ReasonOf(row);
    verdict.text += reason.empty() ? "" : ": " + reason;
    for (const Metric& metric : MetricsOf(row.report.unstructured)) {
        verdict.performanceData += verdict.performanceData.empty() ? "" : " ";
        verdict.performanceData +=
            PerformanceData(isOnly ? metric.name : row.report.name + "." + metric.name, metric);
    }
    return verdict;
}

Verdict FindAndJudge(const std::vector<JudgedReport>& rows, const std::string& name, bool isOnly) {
    for (const JudgedReport& row : rows) {
        if (Sentrel::IsSameReportName(row.report.name, name)) {
            return JudgeOne(row, isOnly);
        }
    }
    return {CheckStatus::Unknown, "no report named \"" + name + "\"; see \"sentrelctl list\"", ""};
}

// Joins the verdicts, the worst first, whose status is that of all.
Verdict Join(std::vector<Verdict> verdicts) {
    std::stable_sort(verdicts.begin(), verdicts.end(), [](const Verdict& a, const Verdict& b) {
        return Severity(a.status) > Severity(b.status);
    });
    Verdict all{verdicts.front().status, "", ""};
    for (const Verdict& verdict : verdicts) {
        all.text += (all.text.empty() ? "" : "; ") + verdict.text;
        all.performanceData +=
            (all.performanceData.empty() || verdict.performanceData.empty() ? "" : " ") +
            verdict.performanceData;
    }
    return all;
}

void WriteVerdict(Verdict verdict, bool asJson, std::ostream& output) {
    if (asJson) {
        WriteJson({{"status", static_cast<int>(verdict.status)},
                   {"state", NameOf(verdict.status)},
                   {"text", verdict.text},
                   {"performanceData", verdict.performanceData}},
                  output);
        return;
    }
    std::string text = PrintableText(verdict.text);
    std::replace(text.begin(), text.end(), '|', '/');  // "|" would begin the performance data
    output << NameOf(verdict.status) << " - " << text;
    output << (verdict.performanceData.empty() ? "" : " | ") << verdict.performanceData << '\n';
}

int JudgeReports(const Arguments& arguments, std::ostream& output) {
    const bool asJson = arguments.options.Has("--json");
    Verdict all;
    try {
        const std::vector<std::string>& names = arguments.operands;
        const std::vector<JudgedReport> rows = ReadJudgedReports(HostOf(arguments.options), names);
        std::vector<Verdict> verdicts;
        verdicts.reserve(names.size());
        for (const std::string& name : names) {
            verdicts.push_back(FindAndJudge(rows, name, names.size() == 1));
        }
        all = Join(std::move(verdicts));
    } catch (const std::exception& exception) {
        all.text = exception.what();
    }
    const int status = static_cast<int>(all.status);
    WriteVerdict(std::move(all), asJson, output);
    return status;
}

// Adds the numbers of this host's daemon. Returns why there are none; empty on success.
std::string ReadDaemon(HostMetrics& metrics) {
    const std::string path = Sys::HostPath(Sentrel::kStatePath);
    metrics.state = Sentrel::ReadDaemonState();
    if (metrics.state) {
        metrics.isUp = true;
        return "";
    }
    const int error = ::access(path.c_str(), R_OK) == 0 ? 0 : errno;
    // somebody may have removed the file of a running daemon
    const bool mayRun =
        !FindListeningSockets(Sentrel::kApiPort).empty() && StrangerOn(Sentrel::kApiPort).empty();
    if (!mayRun && (error == 0 || error == ENOENT)) {
        metrics.isUp = false;
    }
    return "metrics of the daemon and of last runs are missing: " + path + ": " +
           (error == 0 ? "no running daemon keeps it" : ::strerrordesc_np(error)) +
           (mayRun ? "; restart sentrel, which then keeps a new one" : "");
}

void RunMetrics(const Arguments& arguments, std::ostream& output) {
    HostMetrics metrics{ReadJudgedReports(HostOf(arguments.options), {}), {}, {}};
    // With --api the reports may be another host's.
    const std::string missing = arguments.options.Has("--api") ? "" : ReadDaemon(metrics);
    const std::string text = MetricsText(metrics);
    if (arguments.options.Has("--textfile")) {
        try {
            Sys::ReplaceFile(arguments.options.Value("--textfile"), text, kTextFileMode);
        } catch (const std::exception& exception) {
            throw Failure(exception.what(), "name a file in a directory that this user may write");
        }
    } else {
        output << (::isatty(STDOUT_FILENO) == 1 ? PrintableLines(text) : text);
    }
    if (!missing.empty()) {
        NoteOnce(missing);
    }
}

constexpr std::array<Command, 2> kCommands = {{
    {"check",
     "report states to a monitoring system",
     "Prints one line and exits by the convention of monitoring plugins: with 0 when all\n"
     "given reports are OK, 1 for WARNING, 2 for ERROR, and 3 for any other state, a missing\n"
     "report, or a failure of the command itself. The worst of several reports counts; ERROR\n"
     "and WARNING outweigh states that exit with 3. The numbers below \"metrics\" of the\n"
     "reports are the performance data.\n",
     "sentrelctl check memory",
     kCheckOptions,
     {"NAME...", 1, 1000000, Completes::ReportName, Completes::ReportName},
     nullptr,
     JudgeReports,
     static_cast<int>(CheckStatus::Unknown)},
    {"metrics",
     "print states and numbers of all reports and of the daemon",
     "Prints OpenMetrics text: the state of each report (1 for the current state, 0 for the\n"
     "others), its age, its reason unless it is OK, its \"metrics\" with their limits; whether\n"
     "the daemon runs, its counters, and the last and next run of each plugin. --textfile\n"
     "replaces a file atomically, for the textfile collector of a node exporter.\n",
     "sentrelctl metrics",
     kMetricsOptions,
     {},
     RunMetrics},
}};

}  // namespace

std::span<const Command> MonitoringCommands() { return kCommands; }

}  // namespace Ctl
