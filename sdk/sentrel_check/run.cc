#include "sentrel_check/run.h"

#include "sentrel_check/command_line.h"
#include "sentrel_check/intake_client.h"

#include <chrono>
#include <csignal>
#include <exception>
#include <string>
#include <vector>

#include <unistd.h>

namespace SentrelCheck {

namespace {

constexpr int kStored = 0;
constexpr int kNotStored = 1;
constexpr int kWrongUsage = 2;

// Uses one write for each line, so that the lines of concurrent plugins do not mix.
void Tell(const std::string& name, const std::string& message) {
    const std::string line = name + ": " + message + "\n";
    (void)!::write(STDERR_FILENO, line.data(), line.size());  // nowhere else to report it
}

Report MakeReport(const CommandLine& line, const CheckFunction& check) {
    const std::string path = HostRoot() + "/etc/korvex/sentrel/checks/" + line.name + ".json";
    try {
        Settings settings(path);
        Report report(line.name);
        check(settings, report);
        return report;
    } catch (const std::exception& problem) {
        Tell(line.name, problem.what());
        Report report(line.name);
        report.Find(Status::Unknown, problem.what());
        return report;
    }
}

}  // namespace

int RunCheck(int argc, char* argv[], const CheckFunction& check) {
    (void)std::signal(SIGPIPE, SIG_IGN);  // a closed standard error must not end the plugin
    CommandLine line;
    try {
        line = ReadCommandLine(std::vector<std::string>(argv, argv + argc));
    } catch (const UsageError& problem) {
        Tell(argc > 0 ? argv[0] : "plugin", problem.what());
        return kWrongUsage;
    }
    try {
        const Report report = MakeReport(line, check);
        PostReport(line.intake, line.name, report.ToJson(std::chrono::system_clock::now()));
        if (line.logLevel == "debug") {
            Tell(line.name, "the report is stored: " + report.Reason());
        }
        return kStored;
    } catch (const std::exception& problem) {
        Tell(line.name, std::string("the report is not stored: ") + problem.what());
        return kNotStored;
    }
}

}  // namespace SentrelCheck
