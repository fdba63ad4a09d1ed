// A finding of a command that inspects the host: its text, and how to fix the problem.
#pragma once

#include <iosfwd>
#include <span>
#include <string>
#include <string_view>

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
};

// "ok", "notice", "warning", "error".
std::string_view NameOf(Severity severity);

// The worst severity; Good if there are no findings.
Severity WorstOf(std::span<const Finding> findings);

// For people: a line each, the remedy on a line of its own, a line with the counts at the end.
void WriteFindings(std::span<const Finding> findings, std::ostream& output);

// For programs: {"worst": "warning", "findings": [{"severity", "subject", "text", "remedy"}]}.
void WriteFindingsJson(std::span<const Finding> findings, std::ostream& output);

// Writes them in one of the two ways; gives the exit status: 1 when one is an Error, else 0.
int TellFindings(std::span<const Finding> findings, bool asJson, std::ostream& output);

}  // namespace Ctl
