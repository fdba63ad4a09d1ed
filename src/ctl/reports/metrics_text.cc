#include "ctl/reports/metrics_text.h"

#include "ctl/reports/metrics.h"
#include "ctl/show/printable.h"
#include "platform/sys/utf8.h"

#include <array>
#include <charconv>
#include <set>
#include <string_view>
#include <utility>

namespace Ctl {

namespace {

using std::chrono::system_clock;

constexpr std::size_t kMaxReasonCharacters = 200;

// A label's value between its quotes.
std::string Escape(std::string_view value) {
    std::string escaped;
    for (const char byte : PrintableLines(value)) {
        if (byte == '\n') {
            escaped += "\\n";
            continue;
        }
        if (byte == '\\' || byte == '"') {
            escaped += '\\';
        }
        escaped += byte;
    }
    return escaped;
}

std::string Label(std::string_view name, std::string_view value) {
    return std::string(name) + "=\"" + Escape(value) + "\"";
}

// The shortest text that reads back as the same number.
std::string Number(double number) {
    std::array<char, 32> text{};  // such as "-1.7976931348623157e+308"
    const auto result = std::to_chars(text.data(), text.data() + text.size(), number);
    return {text.data(), result.ptr};
}

std::string Seconds(system_clock::duration duration) {
    using std::chrono::microseconds;  // microseconds of any date fit into a double
    constexpr double kPerSecond = 1e6;
    const auto count = std::chrono::duration_cast<microseconds>(duration).count();
    return Number(static_cast<double>(count) / kPerSecond);
}

std::string Timestamp(system_clock::time_point time) { return Seconds(time.time_since_epoch()); }

// The two formats name counters differently, so counters get no type.
enum class Kind { Gauge, Counter };

// One metric family; nothing when it has no samples.
class Family {
  public:
    Family(std::string name, Kind kind, std::string_view help) : name(std::move(name)) {
        head = kind == Kind::Gauge ? "# TYPE " + this->name + " gauge\n" : "";
        if (this->name.ends_with("_seconds")) {
            head += "# UNIT " + this->name + " seconds\n";
        }
        head += "# HELP " + this->name + " " + std::string(help) + "\n";
    }

    // `labels` has no braces. If values differ only in unprintable characters, the first sample
    // counts: parsers refuse the whole text if labels repeat.
    void Add(const std::string& labels, const std::string& value) {
        if (known.insert(labels).second) {
            samples += name + (labels.empty() ? "" : "{" + labels + "}") + " " + value + "\n";
        }
    }
    std::string Text() const { return samples.empty() ? "" : head + samples; }

  private:
    std::string name;
    std::string head;
    std::string samples;
    std::set<std::string> known;  // labels
};

std::string ReportLabel(const JudgedReport& row) { return Label("report", row.report.name); }

std::string StatesText(const std::vector<JudgedReport>& reports) {
    Family states("sentrel_report_state", Kind::Gauge,
                  "Whether the newest report is in this state.");
    for (const JudgedReport& row : reports) {
        for (const ReportState state : kReportStates) {
            states.Add(ReportLabel(row) + "," + Label("state", NameOf(state)),
                       state == row.state ? "1" : "0");
        }
    }
    return states.Text();
}

std::string AgesText(const std::vector<JudgedReport>& reports) {
    Family ages("sentrel_report_age_seconds", Kind::Gauge, "The time since the report was made.");
    for (const JudgedReport& row : reports) {
        if (row.age) {
            ages.Add(ReportLabel(row), std::to_string(row.age->count()));
        }
    }
    return ages.Text();
}

// The first characters of the reason, in one line.
std::string ShortReason(const JudgedReport& row) {
    const std::string reason = PrintableText(ReasonOf(row));
    std::size_t end = 0;
    for (std::size_t count = 0; end < reason.size() && count < kMaxReasonCharacters; ++count) {
        end += Sys::Utf8LengthAt(reason, end);
    }
    return reason.substr(0, end);
}

std::string ReasonsText(const std::vector<JudgedReport>& reports) {
    Family reasons("sentrel_report_reason_info", Kind::Gauge,
                   "Why the report is in a state that is not OK.");
    for (const JudgedReport& row : reports) {
        const std::string reason = row.state == ReportState::Ok ? "" : ShortReason(row);
        if (!reason.empty()) {
            reasons.Add(ReportLabel(row) + "," + Label("reason", reason), "1");
        }
    }
    return reasons.Text();
}

std::string SilencesText(const std::vector<JudgedReport>& reports) {
    Family silences("sentrel_report_silenced", Kind::Gauge,
                    "1 for a report whose problem is known.");
    for (const JudgedReport& row : reports) {
        if (row.silence) {
            silences.Add(ReportLabel(row), "1");
        }
    }
    return silences.Text();
}

std::string NumbersText(const std::vector<JudgedReport>& reports) {
    Family values("sentrel_report_metric", Kind::Gauge, "A metric of the report.");
    Family warnings("sentrel_report_metric_warning", Kind::Gauge,
                    "The WARNING threshold of the metric.");
    Family criticals("sentrel_report_metric_critical", Kind::Gauge,
                     "The ERROR threshold of the metric.");
    for (const JudgedReport& row : reports) {
        for (const Metric& metric : MetricsOf(row.report.unstructured)) {
            const std::string labels = ReportLabel(row) + "," + Label("metric", metric.name) + "," +
                                       Label("unit", metric.unit);
            values.Add(labels, Number(metric.value));
            if (metric.warning) {
                warnings.Add(labels, Number(*metric.warning));
            }
            if (metric.critical) {
                criticals.Add(labels, Number(*metric.critical));
            }
        }
    }
    return values.Text() + warnings.Text() + criticals.Text();
}

std::string PluginsText(const Sentrel::DaemonState& state) {
    Family next("sentrel_plugin_next_launch_timestamp_seconds", Kind::Gauge,
                "When the daemon launches the plugin next.");
    Family starts("sentrel_plugin_last_run_timestamp_seconds", Kind::Gauge,
                  "When the last run of the plugin began.");
    Family durations("sentrel_plugin_last_run_duration_seconds", Kind::Gauge,
                     "How long the last run of the plugin took; absent while it runs.");
    for (const Sentrel::PluginState& plugin : state.plugins) {
        const std::string label = Label("plugin", plugin.name);
        next.Add(label, Timestamp(plugin.nextLaunch));
        if (plugin.start) {
            starts.Add(label, Timestamp(*plugin.start));
            if (plugin.end) {
                durations.Add(label, Seconds(*plugin.end - *plugin.start));
            }
        }
    }
    return next.Text() + starts.Text() + durations.Text();
}

std::string CountersText(const Sentrel::DaemonState& state) {
    using Sentrel::StateCount;
    Family posts("sentrel_posts_total", Kind::Counter, "Posts to the intake, by outcome.");
    Family launches("sentrel_launches_total", Kind::Counter, "Launches of plugins, by outcome.");
    Family kills("sentrel_kills_total", Kind::Counter,
                 "Plugins sent SIGTERM after their time, and processes of plugins killed by the "
                 "kernel for lack of memory.");
    Family calls("sentrel_api_calls_total", Kind::Counter, "Calls of the API, by outcome.");
    const auto add = [&state](Family& family, const char* label, const char* value,
                              StateCount count) {
        family.Add(Label(label, value),
                   std::to_string(state.counts[static_cast<std::size_t>(count)]));
    };
    add(posts, "outcome", "stored", StateCount::PostsStored);
    add(posts, "outcome", "refused", StateCount::PostsRefused);
    add(launches, "outcome", "started", StateCount::Launches);
    add(launches, "outcome", "refused", StateCount::LaunchesRefused);
    add(kills, "cause", "time", StateCount::Kills);
    add(kills, "cause", "memory", StateCount::MemoryKills);
    add(calls, "outcome", "succeeded", StateCount::CallsSucceeded);
    add(calls, "outcome", "failed", StateCount::CallsFailed);
    return posts.Text() + launches.Text() + kills.Text() + calls.Text();
}

std::string DaemonText(const HostMetrics& host) {
    Family up("sentrel_up", Kind::Gauge, "Whether the daemon runs.");
    Family start("sentrel_start_timestamp_seconds", Kind::Gauge, "When the daemon was started.");
    if (host.isUp) {
        up.Add("", *host.isUp ? "1" : "0");
    }
    if (!host.state) {
        return up.Text();
    }
    start.Add("", Timestamp(host.state->started));
    return up.Text() + start.Text() + CountersText(*host.state) + PluginsText(*host.state);
}

}  // namespace

std::string MetricsText(const HostMetrics& host) {
    return StatesText(host.reports) + AgesText(host.reports) + ReasonsText(host.reports) +
           SilencesText(host.reports) + NumbersText(host.reports) + DaemonText(host) + "# EOF\n";
}

}  // namespace Ctl
