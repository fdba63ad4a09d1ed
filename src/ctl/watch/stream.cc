#include "ctl/watch/stream.h"

#include "ctl/show/durations.h"
#include "ctl/show/failure.h"
#include "ctl/show/json_output.h"
#include "ctl/show/times.h"
#include "ctl/show/words.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <ostream>

#include <poll.h>
#include <unistd.h>

namespace Ctl {

namespace {

using OrderedJson = nlohmann::ordered_json;
using std::chrono::steady_clock;

OrderedJson StateJson(const std::optional<ReportState>& state) {
    return state ? OrderedJson(NameOf(*state)) : OrderedJson(nullptr);
}

const char* EventOf(const ReportChange& change) {
    if (!change.before) {
        return "new";
    }
    if (!change.state) {
        return "removed";
    }
    return change.before == change.state ? "renewed" : "changed";
}

void WriteChange(const char* event, const ReportChange& change, std::ostream& output) {
    WriteJson({{"event", event},
               {"name", change.name},
               {"before", StateJson(change.before)},
               {"state", StateJson(change.state)},
               {"time", change.time},
               {"reason", change.reason}},
              output);
}

void WriteInitial(const HostView& view, std::ostream& output) {
    for (const ViewedReport& report : view.reports) {
        const JudgedReport& judged = report.judged;
        WriteChange("initial",
                    {judged.report.name, {}, judged.state, report.reason, judged.report.time},
                    output);
    }
    output.flush();
}

void WriteChanges(const HostChanges& changes, bool daemonRuns, std::ostream& output) {
    for (const ReportChange& change : changes.reports) {
        WriteChange(EventOf(change), change, output);
    }
    if (changes.isDaemon) {
        WriteJson({{"event", "daemon"},
                   {"running", daemonRuns},
                   {"time", UtcText(std::chrono::system_clock::now())}},
                  output);
    }
    output.flush();
}

// The watched reports that are not in the state: "cpu is ERROR".
std::vector<std::string> OthersThan(ReportState state, const HostView& view,
                                    const std::vector<std::string>& names) {
    std::vector<std::string> others;
    for (const ViewedReport& report : view.reports) {
        if (report.judged.state != state) {
            others.push_back(report.judged.report.name + " is " +
                             std::string(NameOf(report.judged.state)));
        }
    }
    for (const std::string& name : MissingNames(NamesOf(view), names)) {
        others.push_back(name + " is not stored");
    }
    if (view.reports.empty() && names.empty()) {
        others.emplace_back("no report is stored");
    }
    return others;
}

// Waits for a change; false if the reader of standard output has gone. `timeout`: in milliseconds,
// or -1.
bool Await(const HostWatch& watch, int timeout) {
    std::array<pollfd, 2> entries = {{{watch.Descriptor(), POLLIN, 0}, {STDOUT_FILENO, 0, 0}}};
    (void)::poll(entries.data(), entries.size(),
                 timeout);  // if interrupted, the caller finds no change
    return (entries[1].revents & POLLERR) == 0;
}

}  // namespace

void Stream(HostWatch& watch, const StreamOptions& options, std::ostream& output) {
    const auto start = steady_clock::now();
    if (options.asJson) {
        WriteInitial(watch.View(), output);
    }
    for (;;) {
        int patience = -1;
        if (options.until) {
            const std::vector<std::string> others =
                OthersThan(*options.until, watch.View(), options.names);
            if (others.empty()) {
                break;
            }
            if (options.timeout) {
                const auto left = std::chrono::ceil<std::chrono::milliseconds>(
                    start + *options.timeout - steady_clock::now());
                if (left.count() <= 0) {
                    throw Failure("timed out after " + DurationText(*options.timeout) + ": " +
                                  Abridged(others));
                }
                constexpr std::chrono::milliseconds kMost = std::chrono::hours(1);
                patience = static_cast<int>(std::min(left, kMost).count());
            }
        }
        if (!Await(watch, patience)) {
            return;
        }
        const HostChanges changes = watch.Look();
        if (options.asJson) {
            WriteChanges(changes, watch.DaemonRuns(), output);
        }
    }
    if (!options.asJson) {
        const std::size_t count = watch.View().reports.size();
        output << Counted(count, "report") << (count == 1 ? " is " : " are ")
               << NameOf(*options.until) << ".\n";
    }
}

}  // namespace Ctl
