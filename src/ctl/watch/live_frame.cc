// Draws the frames of the live screen.
#include "ctl/show/durations.h"
#include "ctl/show/times.h"
#include "ctl/show/words.h"
#include "ctl/sight/report_screen.h"
#include "ctl/watch/live_list.h"
#include "platform/sys/utf8.h"

#include <algorithm>
#include <array>
#include <climits>
#include <sstream>
#include <string_view>

namespace Ctl {

namespace {

constexpr int kGap = 2;
constexpr int kMarkWidth = 2;
constexpr int kAgeWidth = 11;    // "23 h 59 min"
constexpr int kStateWidth = 7;   // "WARNING", "UNKNOWN", "INVALID"
constexpr int kLeastTrend = 70;  // the least width of a screen with trends
constexpr int kFootLines = 2;
constexpr int kHeadLines = 2;
constexpr std::size_t kMaxLaunches = 4;
constexpr std::chrono::seconds kReturnShown{10};

constexpr std::array<std::string_view, 12> kKeys = {
    "Keys",
    "",
    "Up, Down, j, k      select a report",
    "Page Up, Page Down  a screen up or down",
    "Home, End           the first or the last one",
    "Enter               show the report in full",
    "Esc                 back to the list; in the list: show all reports again",
    "/                   filter by text in the name, state or reason",
    "s                   sort by state, by name, by age",
    "q                   leave",
    "",
    "Ages and next launches count on their own; all else changes when a report does."};

using Line = std::vector<PaintedPart>;

// The lines of a coloured text, broken after `width` characters.
std::vector<Line> LinesOf(const std::string& painted, std::size_t width) {
    std::vector<Line> lines(1);
    std::size_t used = 0;
    for (const PaintedPart& part : SplitPainted(painted)) {
        lines.back().push_back({"", part.colour});
        for (std::size_t at = 0; at < part.text.size();) {
            const std::size_t length = std::max<std::size_t>(Sys::Utf8LengthAt(part.text, at), 1);
            const bool isEnd = part.text[at] == '\n';
            if (isEnd || used == width) {
                lines.push_back({{"", part.colour}});
                used = 0;
            }
            if (!isEnd) {
                lines.back().back().text.append(part.text, at, length);
                ++used;
            }
            at += length;
        }
    }
    return lines;
}

}  // namespace

void LiveList::Draw(TerminalScreen& screen) {
    now = std::chrono::system_clock::now();
    std::erase_if(marks, [this](const auto& mark) { return mark.second.end <= now; });
    screen.Clear();
    page = std::max(screen.Rows() - kHeadLines - kFootLines, 1);
    DrawHead(screen);
    if (shown == Shown::List) {
        DrawRows(screen);
    } else if (shown == Shown::Report && opened) {
        DrawReport(screen);
    } else {
        for (std::size_t line = 0; line < kKeys.size(); ++line) {
            (void)screen.Put(kHeadLines + static_cast<int>(line), kGap, INT_MAX, kKeys[line]);
        }
    }
    DrawFoot(screen);
    screen.Show();
}

void LiveList::DrawHead(TerminalScreen& screen) const {
    int column = screen.Put(0, 0, INT_MAX, hostName, {.isBold = true}) + kGap;
    column += screen.Put(0, column, INT_MAX, UtcTimeOfDay(now)) + kGap;
    (void)screen.Put(0, column, INT_MAX, SummaryText(watch.View().reports));
}

void LiveList::DrawRows(TerminalScreen& screen) {
    const std::vector<const ViewedReport*> rows = Rows();
    const auto found = std::find(rows.begin(), rows.end(), FindSelected());
    const int index = found == rows.end() ? 0 : static_cast<int>(found - rows.begin());
    int nameWidth = 4;
    for (const ViewedReport& report :
         watch.View().reports) {  // includes those that the filter hides
        nameWidth = std::max(nameWidth, static_cast<int>(report.judged.report.name.size()));
    }
    nameWidth = std::min(nameWidth, std::max(screen.Columns() / 4, 12));
    top = std::clamp(top, std::max(index - page + 1, 0), index);
    top = std::max(std::min(top, static_cast<int>(rows.size()) - page), 0);
    const Style head{.colour = Colour::Faint};
    const int ageEnd = kMarkWidth + nameWidth + kGap + kAgeWidth;
    const int trend = screen.Columns() >= kLeastTrend ? Trends::kColumns + kGap : 0;
    (void)screen.Put(1, kMarkWidth, INT_MAX, "NAME", head);
    screen.PutRight(1, ageEnd, "AGE", head);
    (void)screen.Put(1, ageEnd + kGap, trend, "TREND", head);
    (void)screen.Put(1, ageEnd + kGap + trend, kStateWidth, "STATE", head);
    (void)screen.Put(1, ageEnd + kGap + trend + kStateWidth + kGap, INT_MAX, "REASON", head);
    for (int line = 0; line < page && top + line < static_cast<int>(rows.size()); ++line) {
        DrawRow(screen, kHeadLines + line, nameWidth, *rows.begin()[top + line]);
    }
    if (rows.empty()) {
        (void)screen.Put(kHeadLines, kMarkWidth, INT_MAX,
                         filter.empty() ? "No reports." : "No report matches.");
    }
}

void LiveList::DrawRow(TerminalScreen& screen, int line, int nameWidth,
                       const ViewedReport& report) const {
    const JudgedReport& judged = report.judged;
    const std::string& name = judged.report.name;
    const auto mark = marks.find(name);
    const bool isMarked = mark != marks.end();
    const Style style{.isBold = isMarked};
    const Style state{.colour = ColourOf(judged.state), .isBold = isMarked};
    (void)screen.Put(line, 0, kMarkWidth, TerminalMarkOf(judged.state), state);
    (void)screen.Put(line, kMarkWidth, nameWidth, name,
                     {.isBold = isMarked, .isReverse = name == selected});
    const int ageEnd = kMarkWidth + nameWidth + kGap + kAgeWidth;
    if (judged.age) {
        screen.PutRight(line, ageEnd, AgeText(*judged.age + SinceView()), style);
    } else {
        screen.PutRight(line, ageEnd, "-", style);
    }
    int column = ageEnd + kGap;
    if (screen.Columns() >= kLeastTrend) {
        if (ShowsUnicode()) {
            (void)screen.Put(line, column, Trends::kColumns, trends.TextOf(name), style);
        }
        column += Trends::kColumns + kGap;
    }
    std::string text(NameOf(judged.state));
    if (isMarked) {
        text = std::string(NameOf(mark->second.before)) + (ShowsUnicode() ? " → " : " > ") + text;
    }
    column += std::max(screen.Put(line, column, INT_MAX, text, state), kStateWidth) + kGap;
    (void)screen.Put(line, column, INT_MAX, report.reason, style);
}

// The time since the ages were computed.
std::chrono::seconds LiveList::SinceView() const {
    return std::chrono::duration_cast<std::chrono::seconds>(now - watch.View().now);
}

void LiveList::DrawReport(TerminalScreen& screen) {
    ViewedReport report = *opened;
    if (report.judged.age) {
        *report.judged.age += SinceView();
    }
    std::ostringstream text;
    WriteReport(report, now, text);
    const std::vector<Line> lines =
        LinesOf(text.str(), static_cast<std::size_t>(std::max(screen.Columns(), 1)));
    top = std::clamp(top, 0, std::max(static_cast<int>(lines.size()) - page, 0));
    for (int line = 0; line < page && top + line < static_cast<int>(lines.size()); ++line) {
        int column = 0;
        for (const PaintedPart& part : lines.begin()[top + line]) {
            column +=
                screen.Put(kHeadLines + line, column, INT_MAX, part.text, {.colour = part.colour});
        }
    }
}

// The message about the daemon; empty while it runs as before.
std::string LiveList::DaemonWord() const {
    const std::string& problem = watch.View().problem;
    const std::string since = daemonChange ? " since " + UtcTimeOfDay(*daemonChange) : "";
    if (!problem.empty()) {
        return problem;
    }
    if (!watch.DaemonRuns()) {
        return "sentrel is not running" + since + ": reports are not renewed";
    }
    return daemonChange && now < *daemonChange + kReturnShown ? "sentrel is running again" + since
                                                              : "";
}

void LiveList::DrawFoot(TerminalScreen& screen) const {
    const int line = screen.Rows() - kFootLines;
    const std::string word = DaemonWord();
    if (!word.empty()) {
        const Colour colour =
            watch.DaemonRuns() && watch.View().problem.empty() ? Colour::Green : Colour::Red;
        (void)screen.Put(line, 0, INT_MAX, word, {.colour = colour, .isBold = true});
    } else {
        std::vector<std::string> launches;
        for (const ViewedLaunch& launch : watch.View().launches) {
            if (launches.size() < kMaxLaunches) {
                const auto left = std::chrono::ceil<std::chrono::seconds>(launch.at - now);
                launches.push_back(launch.plugin +
                                   (left.count() > 0 ? " in " + DurationText(left) : " now"));
            }
        }
        (void)screen.Put(line, 0, INT_MAX,
                         launches.empty() ? "no launch is planned" : "next  " + Joined(launches));
    }
    constexpr std::array<const char*, 3> kOrders = {"state", "name", "age"};
    const std::string keys = shown == Shown::List ? std::string("/ filter  s sort (") +
                                                        kOrders[static_cast<std::size_t>(order)] +
                                                        ")  Enter report  ? keys  q leave"
                                                  : "Esc back  ? keys  q leave";
    const std::string filtered = filter.empty() || isTyping ? "" : "filter \"" + filter + "\"  ";
    (void)screen.Put(line + 1, 0, INT_MAX, isTyping ? "filter: " + filter + "_" : filtered + keys,
                     {.colour = isTyping ? Colour::Plain : Colour::Faint});
}

}  // namespace Ctl
