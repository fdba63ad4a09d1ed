// The operator's tool: the table of its sub-commands, and their exit statuses. 0 on success, 1 if
// the operation failed, 2 if the command line is wrong, unless the command has its own; a failure
// is one line on standard error.
#include "ctl/access/audit_command.h"
#include "ctl/access/token_commands.h"
#include "ctl/api/call_command.h"
#include "ctl/command/command_line.h"
#include "ctl/command/help.h"
#include "ctl/completion/completion.h"
#include "ctl/doctor/command.h"
#include "ctl/group/commands.h"
#include "ctl/page/command.h"
#include "ctl/plugin_run/command.h"
#include "ctl/plugins/commands.h"
#include "ctl/post/post_command.h"
#include "ctl/reports/forget_command.h"
#include "ctl/reports/monitoring_commands.h"
#include "ctl/reports/silence_command.h"
#include "ctl/serve/command.h"
#include "ctl/settings/commands.h"
#include "ctl/show/json_output.h"
#include "ctl/show/printable.h"
#include "ctl/sight/get.h"
#include "ctl/sight/list.h"
#include "ctl/sight/status.h"
#include "ctl/watch/command.h"
#include "platform/sys/host_root.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <poll.h>
#include <unistd.h>

namespace {

constexpr int kFailed = 1;

std::vector<Ctl::Command> AllCommands() {
    std::vector<Ctl::Command> commands;
    for (const std::span<const Ctl::Command> family :
         {Ctl::StatusCommands(), Ctl::ListCommands(), Ctl::GetCommands(), Ctl::WatchCommands(),
          Ctl::PageCommands(), Ctl::ServeCommands(), Ctl::CallCommands(), Ctl::MonitoringCommands(),
          Ctl::PostCommands(), Ctl::ForgetCommands(), Ctl::SilenceCommands(), Ctl::AuditCommands(),
          Ctl::TokenCommands(), Ctl::ConfigCommands(), Ctl::PluginCommands(),
          Ctl::PluginRunCommands(), Ctl::GroupCommands(), Ctl::DoctorCommands()}) {
        commands.insert(commands.end(), family.begin(), family.end());
    }
    return commands;
}

// Call before the first use of the host root, which is read once.
void SetHostRoot(const Ctl::GivenOptions& options) {
    if (options.Has("--root")) {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): the process has one thread
        (void)::setenv("SENTREL_ROOT", options.Value("--root").c_str(),
                       1);  // fails only if memory is exhausted
    }
    const std::string problem =
        Sys::HostRootProblem(options.Has("--root") ? "--root" : "SENTREL_ROOT");
    if (!problem.empty()) {
        throw Ctl::UsageError(problem);
    }
}

// Runs the command and returns the exit status.
int Run(const std::vector<Ctl::Command>& commands, const Ctl::CommandLine& line) {
    if (line.asksVersion) {
        std::cout << "sentrelctl " << SENTREL_VERSION << '\n';
        return 0;
    }
    if (line.arguments.options.Has("--help")) {
        if (line.command != nullptr) {
            Ctl::WriteCommandHelp(*line.command, std::cout);
        } else {
            Ctl::WriteOverview(commands, line.family, std::cout);
        }
        return 0;
    }
    SetHostRoot(line.arguments.options);
    if (line.command->judge != nullptr) {
        return line.command->judge(line.arguments, std::cout);
    }
    line.command->run(line.arguments, std::cout);
    return 0;
}

// Writes candidates for a shell, which cannot show messages.
void Complete(const std::vector<Ctl::Command>& commands, std::span<const char* const> words) {
    try {
        const Ctl::Completion completion = Ctl::FindCompletion(commands, words);
        SetHostRoot(completion.options);
        Ctl::WriteCandidates(completion, std::cout);
        std::cout.flush();
    } catch (const std::exception&) {
        // nothing to complete
    }
}

// Whether the command line asks for JSON, even if the rest of it is invalid.
bool AsksJson(std::span<const char* const> arguments) {
    const auto end = std::find(arguments.begin(), arguments.end(), std::string_view("--"));
    return std::find(arguments.begin(), end, std::string_view("--json")) != end;
}

// Whether the reader of standard output has closed its end, as head(1) does once it has enough.
bool IsReaderGone() {
    pollfd output{.fd = STDOUT_FILENO, .events = 0, .revents = 0};
    return ::poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

int Fail(std::string_view text, int status) {
    const std::string line = "sentrelctl: " + Ctl::PrintableText(text) + "\n";
    (void)std::fputs(line.c_str(), stderr);  // nothing else can report it
    return status;
}

// Also writes the failure as JSON to standard output, for programs.
int FailInJson(const std::exception& failure, int status) {
    Ctl::WriteFailureJson(failure, status, std::cout);
    std::cout.flush();  // when this fails too, the status is left
    return Fail(failure.what(), status);
}

}  // namespace

int main(int argc, char* argv[]) {
    (void)std::signal(SIGPIPE, SIG_IGN);  // a failed write is reported below
    // A report's time without a zone is in the host's zone, which the daemon uses, not this user's.
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the process has one thread
    (void)::unsetenv("TZ");
    int failureStatus = 0;
    const auto statusOr = [&failureStatus](int usual) {
        return failureStatus != 0 ? failureStatus : usual;
    };
    const std::vector<const char*> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    const auto fail = [&arguments](const std::exception& failure, int status) {
        return AsksJson(arguments) ? FailInJson(failure, status) : Fail(failure.what(), status);
    };
    try {
        const std::vector<Ctl::Command> commands = AllCommands();
        if (!arguments.empty() && arguments.front() == Ctl::kCompleteCommand) {
            Complete(commands, std::span(arguments).subspan(1));
            return 0;
        }
        const Ctl::CommandLine line = Ctl::ParseCommandLine(commands, arguments);
        failureStatus = line.command == nullptr ? 0 : line.command->failureStatus;
        const int status = Run(commands, line);
        if (!std::cout.flush() && IsReaderGone()) {
            return statusOr(kFailed);
        }
        if (!std::cout) {
            return Fail(
                "cannot write to standard output; free some space, or redirect it elsewhere",
                statusOr(kFailed));
        }
        return status;
    } catch (const Ctl::UsageError& error) {
        return fail(error, statusOr(error.ExitStatus()));
    } catch (const std::exception& exception) {
        return fail(exception, statusOr(kFailed));
    }
}
