#include "support/tool_run.h"

#include "support/descriptors.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <system_error>

#include <fcntl.h>
#include <grp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Test {

namespace {

constexpr int kCannotRun = 127;
constexpr uid_t kNobody = 65534;

Sys::OwnedFd Require(int descriptor, const char* what) {
    return Sys::OwnedFd(OrThrow(descriptor, what));
}

std::string ReadFromStart(const Sys::OwnedFd& file) {
    (void)::lseek(file.Get(), 0, SEEK_SET);  // a device has no start, and nothing to read
    return ReadToEnd(file.Get());
}

bool BecomeNobody() {
    return ::setgroups(0, nullptr) == 0 && ::setresgid(kNobody, kNobody, kNobody) == 0 &&
           ::setresuid(kNobody, kNobody, kNobody) == 0;
}

ToolResult Run(const Sys::OwnedFd& output, std::vector<std::string> arguments,
               std::vector<std::string> environment, User user, std::string_view inputText) {
    const Sys::OwnedFd input = Require(::memfd_create("input", MFD_CLOEXEC), "making a file");
    if (::pwrite(input.Get(), inputText.data(), inputText.size(), 0) !=
        static_cast<ssize_t>(inputText.size())) {
        throw std::system_error(errno, std::generic_category(), "writing the input");
    }
    const Sys::OwnedFd error = Require(::memfd_create("error", MFD_CLOEXEC), "making a file");
    // opened here, since another user may not be let in where it stands
    const Sys::OwnedFd program =
        Require(::open(SENTRELCTL_PATH, O_PATH | O_CLOEXEC), SENTRELCTL_PATH);
    arguments.insert(arguments.begin(), "sentrelctl");
    const std::vector<char*> argv = PointersTo(arguments);
    const std::vector<char*> envp = PointersTo(environment);
    const pid_t pid = ::fork();
    if (pid == 0) {
        (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::dup2(input.Get(), STDIN_FILENO) >= 0 && ::dup2(output.Get(), STDOUT_FILENO) >= 0 &&
            ::dup2(error.Get(), STDERR_FILENO) >= 0 && (user == User::Own || BecomeNobody())) {
            (void)::fexecve(program.Get(), argv.data(), envp.data());
        }
        ::_exit(kCannotRun);
    }
    int status = 0;
    if (pid < 0 || ::waitpid(pid, &status, 0) != pid) {
        throw std::system_error(errno, std::generic_category(), "running " SENTRELCTL_PATH);
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), ReadFromStart(output),
            ReadFromStart(error)};
}

}  // namespace

ToolResult RunTool(const std::vector<std::string>& arguments,
                   const std::vector<std::string>& environment, User user, std::string_view input) {
    const Sys::OwnedFd output = Require(::memfd_create("output", MFD_CLOEXEC), "making a file");
    return Run(output, arguments, environment, user, input);
}

ToolResult RunToolInto(const Sys::OwnedFd& output, const std::vector<std::string>& arguments) {
    return Run(output, arguments, {}, User::Own, "");
}

void ExpectFailure(const ToolResult& result, const std::string& text) {
    EXPECT_EQ(result.status, 1) << text;
    EXPECT_EQ(result.output, "") << text;
    EXPECT_THAT(result.error, testing::HasSubstr(text));
    EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 1) << result.error;
}

}  // namespace Test
