#include "ctl/reports/silence_command.h"

#include "ctl/command/command_line.h"
#include "ctl/host/host.h"
#include "ctl/reports/silence.h"
#include "ctl/reports/state.h"
#include "ctl/settings/host_file.h"
#include "ctl/show/durations.h"
#include "ctl/show/json_output.h"
#include "ctl/show/near_names.h"
#include "ctl/show/note.h"
#include "ctl/show/table.h"
#include "ctl/show/times.h"
#include "store/report_name.h"

#include <nlohmann/json.hpp>

#include <array>
#include <exception>
#include <ostream>
#include <string>
#include <vector>

namespace Ctl {

namespace {

constexpr std::array<Option, 5> kOptions = {{
    {"--for", "TIME", "how long, such as 30m, 2h or 7d"},
    {"--because", "TEXT", "the reason, for example who works on it"},
    {"--end", "", "end the silence of NAME"},
    kJsonOption,
    kReportsOption,
}};

// A name without a report may get one later, but is mostly mistyped.
void WarnOfUnknown(const GivenOptions& options, const std::string& name) {
    try {
        Host host = HostOf(options);
        host.isOffline = true;
        std::vector<std::string> known;
        for (JudgedReport& report : ReadJudgedReports(host, {})) {
            known.push_back(std::move(report.report.name));
        }
        if (!MissingNames(known, {name}).empty()) {
            NoteOnce("warning: no report named \"" + name + "\"; " +
                     NearNamesAdvice(name, known, "see \"sentrelctl list\""));
        }
    } catch (const std::exception&) {
        // the reports cannot be read, so nothing is known of the name
    }
}

Silence NewSilence(const Arguments& arguments, std::chrono::system_clock::time_point now) {
    const GivenOptions& options = arguments.options;
    const std::string& name = arguments.operands.front();
    if (!Sentrel::IsReportName(name)) {
        throw UsageError("invalid report name \"" + name + "\"",
                         "a name matches " + std::string(Sentrel::kReportNameRule));
    }
    const auto duration = ParseLifetime(options.Value("--for"));
    if (!duration) {
        throw UsageError("invalid duration \"" + options.Value("--for") + "\" for --for",
                         "use, for example, 30m, 2h or 7d");
    }
    WarnOfUnknown(options, name);
    return {name, now + *duration, options.Value("--because")};
}

// Adds or ends the silence that the arguments name.
void Change(const Arguments& arguments, std::chrono::system_clock::time_point now,
            std::vector<Silence>& silences) {
    const std::string& name = arguments.operands.front();
    const auto removed = std::erase_if(silences, [&name](const Silence& silence) {
        return Sentrel::IsSameReportName(silence.name, name);
    });
    if (!arguments.options.Has("--end")) {
        silences.push_back(NewSilence(arguments, now));
    } else if (removed == 0) {
        std::vector<std::string> known;
        known.reserve(silences.size());
        for (const Silence& silence : silences) {
            known.push_back(silence.name);
        }
        throw Failure("\"" + name + "\" is not silenced",
                      NearNamesAdvice(name, known, "see \"sentrelctl silence\""));
    }
    WriteSilences(silences);
}

void CheckUsage(const Arguments& arguments) {
    const GivenOptions& options = arguments.options;
    const bool begins = options.Has("--for") && options.Has("--because");
    const bool isAlone = !options.Has("--for") && !options.Has("--because");
    const bool isRight = arguments.operands.empty() ? isAlone && !options.Has("--end")
                         : options.Has("--end")     ? isAlone
                                                    : begins;
    if (!isRight) {
        throw UsageError("a silence needs a name, a time and a reason",
                         "write: sentrelctl silence NAME --for 2h --because TEXT");
    }
}

void WriteTable(const std::vector<Silence>& silences, std::ostream& output) {
    if (silences.empty()) {
        output << "No report is silenced.\n";
        return;
    }
    Table table({{"NAME"}, {"UNTIL"}, {.heading = "BECAUSE", .isCut = true}});
    for (const Silence& silence : silences) {
        table.Add({silence.name, UtcText(silence.until), silence.because});
    }
    table.Write(output);
}

void RunSilence(const Arguments& arguments, std::ostream& output) {
    CheckUsage(arguments);
    const auto now = std::chrono::system_clock::now();
    std::vector<Silence> silences;
    if (arguments.operands.empty()) {
        silences = ReadSilences(now);
    } else {
        const HostFileLock lock(kSilenceFile);
        silences = ReadSilences(now);
        Change(arguments, now, silences);
    }
    if (!arguments.options.Has("--json")) {
        WriteTable(silences, output);
        return;
    }
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Silence& silence : silences) {
        list.push_back({{"name", silence.name},
                        {"until", UtcText(silence.until)},
                        {"because", silence.because}});
    }
    WriteJson({{"silences", std::move(list)}}, output);
}

constexpr std::array<Command, 1> kCommands = {{
    {"silence",
     "mark a known problem for a time",
     "Silences a report until a time: \"status\" shows it dimmed, with the reason given,\n"
     "counts it apart and no longer fails because of it. \"check\" and \"metrics\" still report\n"
     "its state. A silence ends at its time; another silence of the same name replaces it,\n"
     "and --end ends it early. Without a name, lists the silences. Only root may change\n"
     "them.\n",
     "sentrelctl silence raid --for 2h --because \"disk is ordered\"",
     kOptions,
     {"[NAME]", 0, 1, Completes::ReportName},
     RunSilence},
}};

}  // namespace

std::span<const Command> SilenceCommands() { return kCommands; }

}  // namespace Ctl
