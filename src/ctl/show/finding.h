// What a command that looks for faults has found: one text a finding, and what to do about it.
#pragma once

#include <iosfwd>
#include <span>
#include <string>
#include <string_view>

namespace Ctl {

enum class Severity {
    Good,     // looked at, nothing to do
    Notice,   // worth knowing; nothing has to be done
    Warning,  // it works, but will surprise
    Error     // it does not work
};

struct Finding {
    Severity severity = Severity::Good;
    std::string subject;     // what was looked at: "daemon", "plugin cpu", a setting, a file
    std::string text;        // what is so
    std::string remedy;      // what to do, a command where there is one; empty for Good
    bool isSkipped = false;  // this user may not look at it, but root may
};

// "ok", "notice", "warning", "error".
std::string_view NameOf(Severity severity);

// Good when there is none.
Severity WorstOf(std::span<const Finding> findings);

// For people: a line each, the remedy on a line of its own, a line with the counts at the end.
void WriteFindings(std::span<const Finding> findings, std::ostream& output);

// For programs: {"worst": "warning", "findings": [{"severity", "subject", "text", "remedy"}]}.
void WriteFindingsJson(std::span<const Finding> findings, std::ostream& output);

// Writes them in one of the two ways; gives the exit status: 1 when one is an Error, else 0.
int TellFindings(std::span<const Finding> findings, bool asJson, std::ostream& output);

}  // namespace Ctl
