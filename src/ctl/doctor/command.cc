#include "ctl/doctor/command.h"

#include "ctl/doctor/subjects.h"
#include "ctl/show/failure.h"
#include "ctl/show/json_output.h"
#include "ctl/show/note.h"

#include <array>
#include <cerrno>
#include <exception>
#include <ostream>
#include <system_error>

#include <unistd.h>

namespace Ctl {

namespace {

constexpr std::array<Option, 3> kOptions = {
    {{"--all", "", "list the checks that passed too"},
     kJsonOption,
     {"--reports", "DIR",
      "the report directory; by default that of the running daemon, else "
      "/var/lib/korvex/sentrel/reports",
      Completes::Directory}}};

struct Subject {
    const char* name;  // the subject's name, for the finding that it cannot be inspected
    void (*check)(const Host& host, Findings& findings);
};

constexpr Subject kSubjects[] = {
    {"daemon", CheckDaemon},
    {"intake port", CheckIntakePort},
    {"API", CheckApiPort},
    {"settings", CheckSettings},
    {"changes", CheckFreshness},
    {"plugins", CheckAllPlugins},
    {"group", CheckGroup},
    {"sandbox", CheckSandbox},
    {"report directory", CheckReportDirectory},
    {"reports", CheckReportStates},
    {"times of reports", CheckReportTimes},
    {"signing key", CheckSigningKey},
    {"trust set", CheckTrustSet},
    {"audit log", CheckAuditLog},
    {"metadata file", CheckMetadataFile},
    {"metrics", CheckMetricsTimer},
};

Finding Explain(const char* subject, const Pellmar::Throwable& failure) {
    if (IsDeniedToThisUser(failure)) {
        return {Severity::Notice, subject, failure.WhatHappened(), "run this as root", true};
    }
    return {Severity::Error, subject, failure.WhatHappened(),
            failure.Advice().empty() ? "fix it and run this again" : failure.Advice()};
}

void Look(const Subject& subject, const Host& host, Findings& findings) {
    try {
        subject.check(host, findings);
    } catch (const CannotInspect& reason) {
        findings.push_back(
            {Severity::Notice, subject.name, reason.WhatHappened(), reason.Advice(), true});
    } catch (const Pellmar::Throwable& failure) {
        findings.push_back(Explain(subject.name, failure));
    } catch (const std::system_error& error) {
        findings.push_back(Explain(subject.name, Failure(error.what(), "", error.code().value())));
    } catch (const std::exception& exception) {
        findings.push_back(Explain(subject.name, Failure(exception.what())));
    }
}

int RunDoctor(const Arguments& arguments, std::ostream& output) {
    Host host = HostOf(arguments.options);
    SilenceNotes();
    InspectDaemon(host);
    return ReportFindings(Inspect(host), arguments.options.Has("--json"), output,
                          arguments.options.Has("--all") ? Shown::All : Shown::AllButGood);
}

constexpr std::array<Command, 1> kCommands = {{
    {"doctor",
     "find problems, and say what to do",
     "Inspects the daemon and its ports, settings, plugins and their resource group, reports, "
     "keys,\n"
     "audit log and metadata, and changes nothing. Lists problems, the worst first, each with "
     "what\n"
     "to do; --all lists the checks that passed too. Exits with 1 when something does not work.\n"
     "The last line says what only root can inspect.\n",
     "sentrelctl doctor",
     kOptions,
     {},
     nullptr,
     RunDoctor},
}};

}  // namespace

std::vector<Finding> Inspect(const Host& host) {
    Findings findings;
    for (const Subject& subject : kSubjects) {
        Look(subject, host, findings);
    }
    DropConsequences(findings);
    return findings;
}

std::span<const Command> DoctorCommands() { return kCommands; }

}  // namespace Ctl
