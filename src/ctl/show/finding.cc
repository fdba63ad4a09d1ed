#include "ctl/show/finding.h"

#include "ctl/show/json_output.h"
#include "ctl/show/printable.h"
#include "ctl/show/terminal.h"
#include "ctl/show/words.h"
#include "ctl/show/wrap.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <ostream>
#include <set>
#include <tuple>

namespace Ctl {

namespace {

constexpr std::array<std::string_view, 4> kNames = {"ok", "notice", "warning", "error"};
constexpr std::array<Colour, 4> kColours = {Colour::Green, Colour::Plain, Colour::Yellow,
                                            Colour::Red};
constexpr std::size_t kWordWidth = 7;
constexpr std::size_t kGap = 2;
constexpr std::size_t kMaxSubjects = 1;
constexpr std::size_t kLeastTextWidth = 40;  // narrower texts start below their subject

// A finding as it is shown: once, with all subjects that have it.
struct Line {
    const Finding* finding;
    std::vector<std::string> subjects;

    std::string Subject() const { return PrintableText(Abridged(subjects, kMaxSubjects)); }
};

// Sorts the worst first, and skipped ones after the notices.
std::vector<Line> LinesOf(std::span<const Finding> findings, Shown shown) {
    std::vector<Line> lines;
    for (const Finding& finding : findings) {
        const auto same = std::find_if(lines.begin(), lines.end(), [&finding](const Line& line) {
            return line.finding->severity == finding.severity &&
                   line.finding->text == finding.text && line.finding->remedy == finding.remedy;
        });
        if (same != lines.end()) {
            if (std::find(same->subjects.begin(), same->subjects.end(), finding.subject) ==
                same->subjects.end()) {
                same->subjects.push_back(finding.subject);
            }
        } else if (finding.severity != Severity::Good || shown == Shown::All) {
            lines.push_back({&finding, {finding.subject}});
        }
    }
    std::stable_sort(lines.begin(), lines.end(), [](const Line& one, const Line& other) {
        return std::tuple(other.finding->severity, one.finding->isSkipped) <
               std::tuple(one.finding->severity, other.finding->isSkipped);
    });
    return lines;
}

void WriteLine(const Line& line, std::size_t subjectWidth, std::ostream& output) {
    const std::string_view word = WordOf(*line.finding);
    const std::string subject = line.Subject();
    output << Paint(word, kColours[static_cast<std::size_t>(line.finding->severity)])
           << std::string(kWordWidth - word.size() + kGap, ' ') << subject;
    std::size_t indent = kWordWidth + kGap + subjectWidth + kGap;
    if (TerminalWidth().value_or(indent + kLeastTextWidth) < indent + kLeastTextWidth) {
        indent = kWordWidth + kGap;
        output << '\n' << std::string(indent, ' ');
    } else {
        output << std::string(subjectWidth - WidthOf(subject) + kGap, ' ');
    }
    output << Wrapped(PrintableText(line.finding->text), indent) << '\n';
    if (!line.finding->remedy.empty() && !line.finding->isSkipped) {
        output << std::string(indent, ' ') << "-> "
               << Wrapped(PrintableText(line.finding->remedy), indent + 3) << '\n';
    }
}

// "2 errors, 1 warning, 1 notice", by the lines shown; empty without problems.
std::string CountsOf(std::span<const Finding> findings) {
    const std::vector<Line> lines = LinesOf(findings, Shown::AllButGood);
    std::vector<std::string> counts;
    for (const Severity severity : {Severity::Error, Severity::Warning, Severity::Notice}) {
        const auto count = std::count_if(lines.begin(), lines.end(), [severity](const Line& line) {
            return line.finding->severity == severity && !line.finding->isSkipped;
        });
        if (count != 0) {
            counts.push_back(Counted(static_cast<std::size_t>(count), NameOf(severity)));
        }
    }
    return Joined(counts);
}

void WriteCounts(std::span<const Finding> findings, Shown shown, std::ostream& output) {
    const auto passed =
        static_cast<std::size_t>(std::count_if(findings.begin(), findings.end(), [](const auto& f) {
            return f.severity == Severity::Good;
        }));
    if (passed != 0 && shown == Shown::AllButGood) {
        output << Counted(passed, "check") << " passed; list " << (passed == 1 ? "it" : "them")
               << " with --all\n";
    }
    const std::string counts = CountsOf(findings);
    const auto skipped = static_cast<std::size_t>(
        std::count_if(findings.begin(), findings.end(), [](const auto& f) { return f.isSkipped; }));
    if (!counts.empty()) {
        output << counts << '\n';
    } else if (skipped == 0) {
        output << "No problems found.\n";
    }
    if (skipped != 0) {
        output << Counted(skipped, "check") << " skipped: run as root to inspect "
               << (skipped == 1 ? "it" : "them") << '\n';
    }
}

}  // namespace

std::string_view NameOf(Severity severity) { return kNames[static_cast<std::size_t>(severity)]; }

std::string_view WordOf(const Finding& finding) {
    return finding.isSkipped ? "skipped" : NameOf(finding.severity);
}

Severity WorstOf(std::span<const Finding> findings) {
    Severity worst = Severity::Good;
    for (const Finding& finding : findings) {
        worst = std::max(worst, finding.severity);
    }
    return worst;
}

void DropConsequences(std::vector<Finding>& findings) {
    std::set<std::string> causes;
    for (const Finding& finding : findings) {
        if (finding.severity == Severity::Error && finding.followsFrom != finding.subject) {
            causes.insert(finding.subject);
        }
    }
    std::erase_if(findings, [&causes](const Finding& finding) {
        return causes.count(finding.followsFrom) != 0;
    });
}

void WriteFindings(std::span<const Finding> findings, Shown shown, std::ostream& output) {
    const std::vector<Line> lines = LinesOf(findings, shown);
    std::size_t width = 0;
    for (const Line& line : lines) {
        width = std::max(width, WidthOf(line.Subject()));
    }
    for (const Line& line : lines) {
        WriteLine(line, width, output);
    }
    output << (lines.empty() ? "" : "\n");
    WriteCounts(findings, shown, output);
}

void WriteFindingsJson(std::span<const Finding> findings, std::ostream& output) {
    nlohmann::ordered_json rows = nlohmann::ordered_json::array();
    for (const Finding& finding : findings) {
        rows.push_back({{"severity", NameOf(finding.severity)},
                        {"subject", finding.subject},
                        {"text", finding.text},
                        {"remedy", finding.remedy},
                        {"skipped", finding.isSkipped}});
    }
    WriteJson({{"worst", NameOf(WorstOf(findings))}, {"findings", rows}}, output);
}

int ReportFindings(std::span<const Finding> findings, bool asJson, std::ostream& output,
                   Shown shown) {
    if (asJson) {
        WriteFindingsJson(findings, output);
    } else {
        WriteFindings(findings, shown, output);
    }
    return WorstOf(findings) == Severity::Error ? 1 : 0;
}

}  // namespace Ctl
