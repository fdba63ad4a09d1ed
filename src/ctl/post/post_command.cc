#include "ctl/post/post_command.h"

#include "core/settings/settings.h"
#include "ctl/api/http_post.h"
#include "ctl/host/daemon_process.h"
#include "ctl/host/input_file.h"
#include "ctl/post/check.h"
#include "ctl/post/intake_answer.h"
#include "ctl/show/failure.h"
#include "ctl/show/json_output.h"
#include "ctl/show/sizes.h"
#include "intake/report_job.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cerrno>
#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace Ctl {

namespace {

constexpr unsigned kStored = 200;

constexpr std::array<Option, 1> kPostOptions = {{kJsonOption}};

void RefuseBadDocument(const std::string& document, const std::string& name) {
    const std::vector<std::string> problems = FindProblems(document, name);
    if (problems.empty()) {
        return;
    }
    std::string text = "invalid report \"" + name + "\": ";
    for (const std::string& problem : problems) {
        text += (&problem == &problems.front() ? "" : "; ") + problem;
    }
    throw Failure(text, "fix it and post again");
}

// A process that accepts a connection and does not answer is running: to start it does nothing.
[[noreturn]] void ExplainSilence(const std::string& intake, const HttpFailure& failure) {
    const bool isThere = failure.ErrorNumber() == ETIMEDOUT;
    throw Failure((isThere ? "no answer from " : "cannot reach ") + intake + ": " + failure.what(),
                  isThere ? "see what holds the port: sentrelctl doctor"
                          : "start sentrel (\"systemctl start sentrel\"); \"sentrelctl doctor\" "
                            "tells more",
                  failure.ErrorNumber());
}

void RunPost(const Arguments& arguments, std::ostream& output) {
    const std::string& name = arguments.operands[0];
    const std::string document =
        ReadInputFile(arguments.operands[1], Sentrel::kMaxReportSize, "the report file");
    RefuseBadDocument(document, name);
    const std::string port = std::to_string(FindIntakePort());
    const std::string intake = "the intake on port " + port;
    HttpAnswer answer;
    try {
        answer = Send({.host = "127.0.0.1", .port = port, .target = "/" + name, .body = document});
    } catch (const HttpFailure& failure) {
        ExplainSilence(intake, failure);
    }
    if (answer.status != kStored) {
        const int status = static_cast<int>(answer.status);
        throw Failure("report \"" + name + "\" was " + RefusalText(status) + " (" + intake + ")",
                      ExplainAnswer(status).advice);
    }
    if (arguments.options.Has("--json")) {
        WriteJson({{"name", name}, {"bytes", document.size()}}, output);
    } else {
        output << "Posted " << name << ", " << SizeText(document.size()) << ".\n";
    }
}

constexpr std::array<Command, 1> kCommands = {{
    {"post",
     "check a report document and post it",
     "Checks a report document, from a file or from standard input (\"-\"), and posts it to the\n"
     "intake of the daemon if it is valid: its name is NAME, its time has a zone, its status, if\n"
     "it has one, is a number from 0 to 4, and it has the member \"unstructured\". Otherwise "
     "posts\n"
     "nothing and reports each problem.\n",
     "printf '{\"structured\": {\"name\": \"demo\", \"time\": \"%s\"}, \"unstructured\": {}}' "
     "$(date -u +%FT%TZ) | sentrelctl post demo -",
     kPostOptions,
     {"NAME FILE|-", 2, 2, Completes::ReportName, Completes::File},
     RunPost},
}};

}  // namespace

std::span<const Command> PostCommands() { return kCommands; }

}  // namespace Ctl
