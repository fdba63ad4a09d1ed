#include "ctl/page/page.h"

#include "ctl/page/assets.h"
#include "ctl/page/html.h"
#include "ctl/page/row_detail.h"
#include "ctl/show/times.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Ctl {

namespace {

std::string StateHtml(ReportState state) {
    return "<span class=\"state\"><span aria-hidden=\"true\">" + std::string(MarkOf(state)) +
           " </span>" + std::string(NameOf(state)) + "</span>";
}

// A time that the script of a live page counts up or down; an unknown time does not change.
std::string Counting(std::chrono::seconds seconds, int step) {
    return seconds.count() < 0 ? ""
                               : " data-seconds=\"" + std::to_string(seconds.count()) +
                                     "\" data-step=\"" + std::to_string(step) + "\"";
}

std::string AgeCounting(const ViewedReport& report) {
    return Counting(report.judged.age.value_or(std::chrono::seconds(-1)), 1);
}

std::string NextCounting(const ViewedReport& report, const HostView& view) {
    return !report.next.time || report.next.isEstimate
               ? ""
               : Counting(
                     std::chrono::duration_cast<std::chrono::seconds>(*report.next.time - view.now),
                     -1);
}

std::string AgeCell(const ViewedReport& report) {
    return report.judged.age ? AgeText(report.judged.age) : "–";
}

std::string NextCell(const ViewedReport& report, const HostView& view) {
    return report.next.time ? NextText(report.next, view.now) : "–";
}

// The pill to which the report belongs, and by which it is filtered.
std::string PillOf(const JudgedReport& judged) {
    return judged.silence ? "silenced" : std::string(NameOf(judged.state));
}

// The CSS classes of a report: its state, and whether it is silenced.
std::string ClassOf(const JudgedReport& judged) {
    return std::string(NameOf(judged.state)) + (judged.silence ? " silenced" : "");
}

std::string SilenceHtml(const ViewedReport& report, const HostView& view) {
    const std::optional<Silence>& silence = report.judged.silence;
    return silence ? "<p class=\"quiet\">" + Html(SilenceText(*silence, view.now)) + "</p>" : "";
}

// How many reports each pill has, by its name, in their order.
std::vector<std::pair<std::string, std::size_t>> CountPills(const HostView& view) {
    std::vector<std::pair<std::string, std::size_t>> pills;
    for (const ViewedReport& report : view.reports) {
        const std::string name = PillOf(report.judged);
        auto pill = std::find_if(pills.begin(), pills.end(),
                                 [&name](const auto& other) { return other.first == name; });
        if (pill == pills.end()) {
            pill = pills.insert(pill, {name, 0});
        }
        ++pill->second;
    }
    return pills;
}

std::string CardHtml(const ViewedReport& report, const HostView& view) {
    const ReportState state = report.judged.state;
    std::string html = "<article class=\"card " + ClassOf(report.judged) + "\"><header>" +
                       StateHtml(state) + "<h3>" + Html(report.judged.report.name) + "</h3>";
    if (const auto age = report.judged.age; age && *age < std::chrono::seconds(0)) {
        html += "<span class=\"quiet\">" + AgeText(age) + "</span>";
    } else if (age) {
        html += "<span class=\"quiet\"><span" + Counting(*age, 1) + ">" + AgeText(age) +
                "</span> ago</span>";
    }
    return html + "</header><p>" + Html(report.reason) + "</p>" + SilenceHtml(report, view) +
           "</article>";
}

// All launches within an hour of `view.now`, the next first.
std::vector<ViewedLaunch> HourOfLaunches(const HostView& view) {
    std::vector<ViewedLaunch> launches;
    for (ViewedLaunch launch : view.launches) {
        while (launch.at < view.now + std::chrono::hours(1)) {
            if (launch.at >= view.now) {
                launches.push_back(launch);
            }
            launch.at += std::max(launch.period, std::chrono::seconds(1));
        }
    }
    std::sort(launches.begin(), launches.end(),
              [](const auto& one, const auto& other) { return one.at < other.at; });
    return launches;
}

std::string HeadHtml(const PageFacts& facts) {
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta http-equiv=\"Content-Security-Policy\" content=\"" +
           PagePolicy(facts.events) +
           "\">\n<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           "<meta name=\"referrer\" content=\"no-referrer\">\n<title>" +
           Html(facts.host) + ": health</title>\n<style>" + std::string(kPageStyle) +
           "</style>\n</head>\n";
}

}  // namespace

std::string PagePolicy(const std::string& events) {
    return "default-src 'none'; base-uri 'none'; form-action 'none'; style-src '" +
           PolicyHash(kPageStyle) + "'; script-src '" + PolicyHash(kPageScript) + "'" +
           (events.empty() ? "" : "; connect-src 'self'");
}

std::string NoticeHtml(const std::string& text) {
    return text.empty() ? "" : "<span class=\"state ERROR\">" + Html(text) + "</span>";
}

std::string PillHtml(const std::string& name, std::size_t count) {
    const ReportState look = ParseState(name).value_or(ReportState::None);  // of "silenced"
    return "<button class=\"pill " + std::string(NameOf(look)) + "\" data-state=\"" + name +
           "\" aria-pressed=\"false\">" + std::string(MarkOf(look)) + " " + std::to_string(count) +
           " " + name + "</button>";
}

std::string PillsHtml(const HostView& view) {
    std::string html;
    for (const auto& [name, count] : CountPills(view)) {
        html += PillHtml(name, count);
    }
    return html;
}

std::string ProblemsHtml(const HostView& view) {
    std::string html;
    for (const ViewedReport& report : view.reports) {
        html += IsFine(report.judged) ? "" : CardHtml(report, view);
    }
    if (!html.empty()) {
        return html;
    }
    return view.reports.empty() ? "<p>No reports.</p>"
                                : "<p class=\"OK\">" + StateHtml(ReportState::Ok) + " All " +
                                      std::to_string(view.reports.size()) + " reports are OK.</p>";
}

std::string RowHtml(const ViewedReport& report, const HostView& view) {
    const JudgedReport& judged = report.judged;
    const long long age = judged.age ? judged.age->count() : -1;
    const int rank = 2 * RankOf(judged.state) + (judged.silence ? 1 : 0);
    return "<li class=\"" + ClassOf(judged) + "\" data-name=\"" + Html(judged.report.name) +
           "\" data-state=\"" + PillOf(judged) + "\" data-rank=\"" + std::to_string(rank) +
           "\" data-age=\"" + std::to_string(age) + "\"><details><summary><span class=\"name\">" +
           Html(judged.report.name) + "</span>" + StateHtml(judged.state) +
           "<span class=\"age number\"" + AgeCounting(report) + ">" + AgeCell(report) +
           "</span><span class=\"next number\"" + NextCounting(report, view) + ">" +
           NextCell(report, view) + "</span><span class=\"reason\">" +
           Html(RemarkOn(report, view.now)) + "</span></summary><div class=\"detail\">" +
           RowDetailHtml(report) + "</div></details></li>\n";
}

std::string TickHtml(const std::string& x, const std::string& title) {
    return "<line class=\"tick\" x1=\"" + x + "\" x2=\"" + x + "\" y1=\"6\" y2=\"30\"><title>" +
           title + "</title></line>";
}

std::string ScaleMarkHtml(const std::string& x) {
    return "<line x1=\"" + x + "\" x2=\"" + x + "\" y1=\"26\" y2=\"34\"/>";
}

std::string LaunchRowHtml(const std::string& plugin, const std::string& time) {
    return "<tr><td>" + plugin + "</td><td>" + time + "</td></tr>";
}

std::string HourHtml(const HostView& view) {
    constexpr int kWidth = 1200;
    constexpr std::chrono::seconds kHour = std::chrono::hours(1);
    std::string ticks;
    std::string rows;
    for (const ViewedLaunch& launch : HourOfLaunches(view)) {
        const auto left = std::chrono::duration_cast<std::chrono::seconds>(launch.at - view.now);
        const std::string plugin = Html(launch.plugin);
        const std::string time = UtcTimeOfDay(launch.at);
        ticks += TickHtml(std::to_string(left.count() * kWidth / kHour.count()),
                          std::string(plugin).append(" ").append(time));
        rows += LaunchRowHtml(plugin, time);
    }
    if (rows.empty()) {
        return "<p class=\"quiet\">No launch is planned.</p>";
    }
    for (int tenth = 0; tenth <= 6; ++tenth) {
        ticks += ScaleMarkHtml(std::to_string(tenth * kWidth / 6));
    }
    return "<svg viewBox=\"0 0 1200 40\" preserveAspectRatio=\"none\" aria-hidden=\"true\">"
           "<line x1=\"0\" x2=\"1200\" y1=\"30\" y2=\"30\"/>" +
           ticks +
           "</svg><p class=\"scale quiet\"><span>now</span><span>in 30 min</span><span>in 1 h"
           "</span></p><table class=\"visually-hidden\"><thead><tr><th>Plugin</th><th>Launch</th>"
           "</tr></thead><tbody>" +
           rows + "</tbody></table>";
}

std::string FindingsHtml(const HostView& view) {
    static constexpr std::array<const char*, 4> kClasses = {"OK", "NONE", "WARNING", "ERROR"};
    static constexpr std::array<const char*, 4> kMarks = {"●", "–", "▲", "✖"};
    std::string html;
    for (const Finding& finding : view.findings) {
        const auto severity = static_cast<std::size_t>(finding.severity);
        if (finding.severity == Severity::Good) {
            continue;
        }
        html += "<li class=\"" + std::string(kClasses[severity]) + "\"><span class=\"state\">" +
                kMarks[severity] + " " + std::string(WordOf(finding)) + "</span> " +
                Html(finding.subject) + ": " + Html(finding.text) +
                (finding.remedy.empty() ? "" : "; <code>" + Html(finding.remedy) + "</code>") +
                "</li>\n";
    }
    return html.empty() ? "<p>No problems found.</p>" : "<ul>" + html + "</ul>";
}

std::string PageHtml(const HostView& view, const PageFacts& facts) {
    std::string html = HeadHtml(facts);
    html +=
        facts.events.empty() ? "<body>\n" : "<body data-events=\"" + Html(facts.events) + "\">\n";
    html += "<header><h1>" + Html(facts.host) + "</h1><span class=\"quiet\" id=\"as-of\">as of " +
            UtcTimeOfDay(view.now) +
            "</span><nav class=\"pills\" aria-label=\"Filter by state\">"
            "<span class=\"group\" id=\"pills\">" +
            PillsHtml(view) +
            "</span><input type=\"search\" placeholder=\"Filter reports\" "
            "aria-label=\"Filter reports\" hidden></nav></header>\n<main>\n"
            "<p id=\"notice\" role=\"status\">" +
            NoticeHtml(facts.notice) + "</p><h2>Needs attention</h2><section id=\"problems\">" +
            ProblemsHtml(view) +
            "</section>\n<h2>All reports</h2><section><div class=\"heads\">"
            "<button data-key=\"name\">Name</button>"
            "<button data-key=\"rank\" aria-sort=\"ascending\">State</button>"
            "<button data-key=\"age\" class=\"number\">Age</button>"
            "<span class=\"number quiet\">Next</span>"
            "<button data-key=\"reason\">Reason</button></div>\n<ul class=\"reports\">\n";
    for (const ViewedReport& report : view.reports) {
        html += RowHtml(report, view);
    }
    html +=
        "</ul><p id=\"empty\" class=\"quiet\" hidden>No report matches.</p></section>\n"
        "<h2>The next hour</h2><section id=\"hour\" class=\"hour\">" +
        HourHtml(view) + "</section>\n<h2>Doctor</h2><section id=\"findings\" class=\"findings\">" +
        FindingsHtml(view) + "</section>\n</main>\n<footer>sentrel " + Html(facts.version) + "; " +
        Html(facts.daemon) + "<br>Made by <code>" + Html(facts.command) +
        "</code></footer>\n<script>" + std::string(kPageScript) + "</script>\n";
    return html + "</body>\n</html>\n";
}

}  // namespace Ctl
