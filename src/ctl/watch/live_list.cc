#include "ctl/watch/live_list.h"

#include "ctl/show/times.h"
#include "ctl/sight/daemon_text.h"
#include "store/report_name.h"

#include <algorithm>
#include <utility>

namespace Ctl {

namespace {

using Key = KeyPress::Key;

constexpr std::chrono::seconds kMarked{5};

bool Contains(std::string_view text, std::string_view part) {
    return std::search(text.begin(), text.end(), part.begin(), part.end(), [](char a, char b) {
               return Sentrel::AsciiUpper(a) == Sentrel::AsciiUpper(b);
           }) != text.end();
}

bool Matches(const ViewedReport& report, const std::string& filter) {
    return filter.empty() || Contains(report.judged.report.name, filter) ||
           Contains(NameOf(report.judged.state), filter) || Contains(report.reason, filter);
}

}  // namespace

LiveList::LiveList(const HostWatch& watch)
    : watch(watch), hostName(HostName()), trends(watch.View()) {}

void LiveList::Take(const HostChanges& changes) {
    const TimePoint end = std::chrono::system_clock::now() + kMarked;
    for (const ReportChange& change : changes.reports) {
        if (change.before && change.state && change.before != change.state) {
            marks.insert_or_assign(change.name, Mark{*change.before, end});
        }
    }
    if (opened) {
        const ViewedReport* const renewed = FindSelected();
        renewed != nullptr ? Open(*renewed) : Close();
    }
    trends.Take(changes, watch.View());
    if (changes.isDaemon) {
        daemonChange = std::chrono::system_clock::now();
    }
}

std::vector<const ViewedReport*> LiveList::Rows() const {
    std::vector<const ViewedReport*> rows;
    for (const ViewedReport& report : watch.View().reports) {
        if (Matches(report, filter)) {
            rows.push_back(&report);
        }
    }
    if (order == Order::State) {
        return rows;  // the view is sorted by state already
    }
    const auto age = [](const ViewedReport* report) {
        return report->judged.age.value_or(std::chrono::seconds::max());
    };
    std::stable_sort(rows.begin(), rows.end(), [&](const auto* one, const auto* other) {
        return order == Order::Age ? age(one) < age(other)
                                   : one->judged.report.name < other->judged.report.name;
    });
    return rows;
}

bool LiveList::Press(const KeyPress& press) {
    if (isTyping) {
        PressInFilter(press);
        return true;
    }
    switch (press.key) {
        case Key::Up:
            Move(-1);
            break;
        case Key::Down:
            Move(1);
            break;
        case Key::PageUp:
            Move(-page);
            break;
        case Key::PageDown:
            Move(page);
            break;
        case Key::Home:
            Move(-top - 1'000'000);
            break;
        case Key::End:
            Move(1'000'000);
            break;
        case Key::Enter:
            if (const auto rows = Rows(); shown == Shown::List && !rows.empty()) {
                const auto row = std::find(rows.begin(), rows.end(), FindSelected());
                Open(row == rows.end() ? *rows.front() : **row);
            }
            break;
        case Key::Escape:
            if (shown == Shown::List) {
                filter.clear();
            }
            [[fallthrough]];
        case Key::Erase:
            if (shown != Shown::List) {
                Close();
            }
            break;
        default:
            return PressCharacter(press.character);
    }
    return true;
}

void LiveList::PressInFilter(const KeyPress& press) {
    if (press.key == Key::Character) {
        filter += press.character;
    } else if (press.key == Key::Erase) {
        filter.resize(filter.size() - std::min<std::size_t>(filter.size(), 1));
    } else if (press.key == Key::Enter || press.key == Key::Escape) {
        isTyping = false;
        filter = press.key == Key::Escape ? "" : filter;
    }
    top = 0;
    selected.clear();
}

bool LiveList::PressCharacter(const std::string& character) {
    if (character == "/" && shown == Shown::List) {
        isTyping = true;
    } else if (character == "s" && shown == Shown::List) {
        order = order == Order::State ? Order::Name
                                      : (order == Order::Name ? Order::Age : Order::State);
    } else if (character == "?") {
        shown = Shown::Keys;
        opened.reset();
    } else if (character == "j" || character == "k") {
        Move(character == "j" ? 1 : -1);
    }
    return character != "q";
}

// Moves the selection, or scrolls the lines of a report.
void LiveList::Move(int count) {
    if (shown != Shown::List) {
        top = std::max(top + count, 0);
        return;
    }
    const std::vector<const ViewedReport*> rows = Rows();
    if (rows.empty()) {
        return;
    }
    const auto found = std::find(rows.begin(), rows.end(), FindSelected());
    const int last = static_cast<int>(rows.size()) - 1;
    const int current = found == rows.end() ? 0 : static_cast<int>(found - rows.begin());
    const int next = std::clamp(current + count, 0, last);
    selected = rows[static_cast<std::size_t>(next)]->judged.report.name;
}

const ViewedReport* LiveList::FindSelected() const {
    const std::vector<ViewedReport>& reports = watch.View().reports;
    const auto found = std::find_if(reports.begin(), reports.end(), [this](const auto& report) {
        return report.judged.report.name == selected;
    });
    return found == reports.end() ? nullptr : &*found;
}

// Shows a report in full, with those stored before it.
void LiveList::Open(const ViewedReport& report) {
    HostView single{.now = watch.View().now,
                    .reports = {report},
                    .launches = {},
                    .findings = {},
                    .problem = {}};
    AddStoredReports(watch.GetHost(), single);
    top = shown == Shown::Report ? top : 0;
    selected = report.judged.report.name;
    opened = std::move(single.reports.front());
    shown = Shown::Report;
}

// Returns to the list.
void LiveList::Close() {
    top = 0;
    shown = Shown::List;
    opened.reset();
}

}  // namespace Ctl
