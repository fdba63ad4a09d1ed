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

// The worst severity; Good if there are no findings.
Severity WorstOf(std::span<const Finding> findings);

// Removes the findings that follow from an error which is among them.
void DropConsequences(std::vector<Finding>& findings);

// Which findings people are shown.
enum class Shown { All, AllButGood };

// For people: the worst first, a line each, the same finding of several subjects once, the remedy
// on a line of its own. Then how many are good, where these are not shown, and last a line with the
// counts, which also tells what was skipped.
void WriteFindings(std::span<const Finding> findings, Shown shown, std::ostream& output);

// For programs: {"worst": "warning", "findings": [{"severity", "subject", "text", "remedy"}]}.
void WriteFindingsJson(std::span<const Finding> findings, std::ostream& output);

// Writes them in one of the two ways; gives the exit status: 1 when one is an Error, else 0.
int TellFindings(std::span<const Finding> findings, bool asJson, std::ostream& output,
                 Shown shown = Shown::All);

}  // namespace Ctl
