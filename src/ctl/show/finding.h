// A finding of a command that inspects the host: its text, and how to fix the problem.
#pragma once

#include <iosfwd>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Ctl {

enum class Severity {
    Good,     // inspected, nothing to do
    Notice,   // worth knowing; nothing to do
    Warning,  // it works, but not as expected
    Error     // it does not work
};

struct Finding {
    Severity severity = Severity::Good;
    std::string subject;     // what was inspected: "daemon", "plugin cpu", a setting, a file
    std::string text;        // what was found
    std::string remedy;      // what to do, if possible a command; empty for Good
    bool isSkipped = false;  // this user may not inspect it, but root may
    // The subject whose error, where it has one, is the cause of this finding; else empty.
    std::string followsFrom = {};
};

// "ok", "notice", "warning", "error".
std::string_view NameOf(Severity severity);

// The name of its severity, or "skipped".
std::string_view WordOf(const Finding& finding);

// The worst severity; Good if there are no findings.
Severity WorstOf(std::span<const Finding> findings);

// Removes each finding whose `followsFrom` is the subject of an error among them.
void DropConsequences(std::vector<Finding>& findings);

// Which findings people are shown.
enum class Shown { All, AllButGood };

// Writes the findings for people: the worst first, one line each, a finding that several subjects
// share only once, its remedy on a line of its own; then the number of good ones if these are not
// shown, and a last line with the counts, including what was skipped.
void WriteFindings(std::span<const Finding> findings, Shown shown, std::ostream& output);

// Writes them for programs: {"worst": "warning", "findings": [{"severity", "subject", "text",
// "remedy", "skipped"}]}.
void WriteFindingsJson(std::span<const Finding> findings, std::ostream& output);

// Writes them as JSON or for people. Returns the exit status: 1 if one is an Error, else 0.
int ReportFindings(std::span<const Finding> findings, bool asJson, std::ostream& output,
                   Shown shown = Shown::All);

}  // namespace Ctl
