#include "checks/wrap/wrap.h"

#include "checks/wrap/command.h"
#include "checks/wrap/output.h"

#include <string>

#include <string.h>

namespace Wrap {

namespace {

using SentrelCheck::Report;
using SentrelCheck::Status;

// Why the run gives no information about the host; empty if it does.
std::string FaultOf(const Configuration& configuration, const CommandResult& result) {
    switch (result.end) {
        case CommandResult::End::TimedOut:
            return "the check ran longer than " + std::to_string(configuration.timeLimit.count()) +
                   " s and was killed";
        case CommandResult::End::Flooded:
            return "the check printed more than 1 MiB and was killed";
        case CommandResult::End::Signalled:
            return "the check was killed by signal " + std::to_string(result.code) + " (" +
                   ::sigdescr_np(result.code) + ")";
        default:
            return configuration.exitStatus.contains(result.code)
                       ? ""
                       : "the check exited with status " + std::to_string(result.code) +
                             ", which \"exitStatus\" does not map";
    }
}

}  // namespace

void RunCheck(const Configuration& configuration, Report& report) {
    const CommandResult result =
        RunCommand(configuration.command, configuration.environment, configuration.timeLimit);
    const CheckOutput output = ParseOutput(result.output);
    for (const SentrelCheck::Metric& metric : output.metrics) {
        report.AddMetric(metric);
    }
    if (!output.longText.empty()) {
        report.AddText("output", output.longText);
    }
    const std::string text = output.text.empty() ? ParseOutput(result.errors).text : output.text;
    const std::string fault = FaultOf(configuration, result);
    if (!fault.empty()) {
        report.Find(Status::Unknown, fault + (text.empty() ? "" : ": " + text));
        return;
    }
    const std::string reason = text.empty() ? "the check printed no text" : text;
    if (const Status status = configuration.exitStatus.at(result.code); status != Status::Ok) {
        report.Find(status, reason);
    } else {
        report.Summarize(reason);
    }
}

}  // namespace Wrap
