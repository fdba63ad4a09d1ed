#include "ctl/show/finding.h"

#include "ctl/show/json_output.h"
#include "ctl/show/printable.h"
#include "ctl/show/terminal.h"
#include "ctl/show/words.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <ostream>

namespace Ctl {

namespace {

constexpr std::array<std::string_view, 4> kNames = {"ok", "notice", "warning", "error"};
constexpr std::array<Colour, 4> kColours = {Colour::Green, Colour::Plain, Colour::Yellow,
                                            Colour::Red};
constexpr std::size_t kNameWidth = 7;

void WriteCounts(std::span<const Finding> findings, std::ostream& output) {
    const auto count = [findings](Severity severity) {
        return static_cast<std::size_t>(
            std::count_if(findings.begin(), findings.end(),
                          [severity](const Finding& f) { return f.severity == severity; }));
    };
    const auto errors = count(Severity::Error);
    const auto warnings = count(Severity::Warning);
    const auto skipped = static_cast<std::size_t>(
        std::count_if(findings.begin(), findings.end(), [](const auto& f) { return f.isSkipped; }));
    if (errors != 0 || warnings != 0) {
        output << Counted(errors, "error") << ", " << Counted(warnings, "warning") << ".\n";
    } else if (skipped == 0) {
        output << "Nothing has to be done.\n";
    }
    if (skipped != 0) {
        output << Counted(skipped, "check") << " skipped: run as root to inspect "
               << (skipped == 1 ? "it" : "them") << ".\n";
    }
}

}  // namespace

std::string_view NameOf(Severity severity) { return kNames[static_cast<std::size_t>(severity)]; }

Severity WorstOf(std::span<const Finding> findings) {
    Severity worst = Severity::Good;
    for (const Finding& finding : findings) {
        worst = std::max(worst, finding.severity);
    }
    return worst;
}

void WriteFindings(std::span<const Finding> findings, std::ostream& output) {
    std::size_t width = 0;
    for (const Finding& finding : findings) {
        width = std::max(width, PrintableText(finding.subject).size());
    }
    for (const Finding& finding : findings) {
        const std::string name(NameOf(finding.severity));
        const std::string subject = PrintableText(finding.subject);
        output << Paint(name, kColours[static_cast<std::size_t>(finding.severity)])
               << std::string(kNameWidth - name.size() + 2, ' ') << subject
               << std::string(width - subject.size() + 2, ' ') << PrintableText(finding.text)
               << '\n';
        if (!finding.remedy.empty()) {
            output << std::string(kNameWidth + 2 + width + 2, ' ') << "-> "
                   << PrintableText(finding.remedy) << '\n';
        }
    }
    WriteCounts(findings, output);
}

void WriteFindingsJson(std::span<const Finding> findings, std::ostream& output) {
    nlohmann::ordered_json rows = nlohmann::ordered_json::array();
    for (const Finding& finding : findings) {
        rows.push_back({{"severity", NameOf(finding.severity)},
                        {"subject", finding.subject},
                        {"text", finding.text},
                        {"remedy", finding.remedy}});
    }
    WriteJson({{"worst", NameOf(WorstOf(findings))}, {"findings", rows}}, output);
}

int TellFindings(std::span<const Finding> findings, bool asJson, std::ostream& output) {
    if (asJson) {
        WriteFindingsJson(findings, output);
    } else {
        WriteFindings(findings, output);
    }
    return WorstOf(findings) == Severity::Error ? 1 : 0;
}

}  // namespace Ctl
