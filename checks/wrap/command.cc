#include "checks/wrap/command.h"

#include "platform/sys/owned_fd.h"
#include "platform/sys/pid_fd.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Wrap {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr std::size_t kKeptBytes = 64 * 1024;
constexpr int kNotExecuted = 127;

[[noreturn]] void ThrowErrno(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

struct Pipe {
    Sys::OwnedFd reader;
    Sys::OwnedFd writer;
};

Pipe MakePipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        ThrowErrno("a pipe for the check");
    }
    Pipe pipe{Sys::OwnedFd(ends[0]), Sys::OwnedFd(ends[1])};
    if (::fcntl(ends[0], F_SETFL, O_NONBLOCK) != 0) {
        ThrowErrno("a pipe for the check");
    }
    return pipe;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

// Runs in the child and never returns.
[[noreturn]] void Execute(pid_t parent, int output, int errors, char* const* arguments,
                          char* const* environment) {
    (void)::setpgid(0, 0);  // the parent does the same, so the order does not matter
    (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
    (void)::signal(SIGPIPE, SIG_DFL);
    const int input = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (::getppid() == parent && ::dup2(input, STDIN_FILENO) >= 0 &&
        ::dup2(output, STDOUT_FILENO) >= 0 && ::dup2(errors, STDERR_FILENO) >= 0) {
        ::execve(arguments[0], arguments, environment);
    }
    const std::string_view reason = ::strerrordesc_np(errno);
    (void)!::write(errors, arguments[0], ::strlen(arguments[0]));  // nowhere else to report it
    (void)!::write(errors, ": ", 2);
    (void)!::write(errors, reason.data(), reason.size());
    ::_exit(kNotExecuted);
}

// Keeps the first bytes and counts all.
class Stream {
  public:
    Stream(int descriptor, std::string& text) : descriptor(descriptor), text(text) {}

    int Descriptor() const { return descriptor; }  // -1 once it is closed

    // Reads the available bytes and returns their number.
    std::size_t Read() {
        std::array<char, 4096> bytes{};
        const ssize_t count = ::read(descriptor, bytes.data(), bytes.size());
        if (count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR)) {
            descriptor = -1;
        }
        const auto size = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        text.append(bytes.data(), std::min(size, kKeptBytes - text.size()));
        return size;
    }

  private:
    int descriptor;
    std::string& text;
};

// Collects output until the process exits or must be killed.
CommandResult::End Collect(const Sys::PidFd& process, std::array<Stream, 2> streams,
                           steady_clock::time_point deadline) {
    std::size_t total = 0;
    for (bool hasEnded = false; !hasEnded;) {
        const auto left = std::chrono::ceil<milliseconds>(deadline - steady_clock::now()).count();
        std::array<pollfd, 3> polls{{{process.Get(), POLLIN, 0},
                                     {streams[0].Descriptor(), POLLIN, 0},
                                     {streams[1].Descriptor(), POLLIN, 0}}};
        const int ready = ::poll(polls.data(), polls.size(), static_cast<int>(std::max(left, 0L)));
        if (ready == 0) {
            return CommandResult::End::TimedOut;
        }
        hasEnded = ready > 0 && polls[0].revents != 0;
        for (Stream& stream : streams) {
            std::size_t count = 0;
            do {
                count = stream.Descriptor() < 0 ? 0 : stream.Read();
                total += count;
            } while (hasEnded && count > 0 && total <= kMaxOutputBytes);
        }
        if (total > kMaxOutputBytes) {
            return CommandResult::End::Flooded;
        }
        if (left <= 0) {
            return hasEnded ? CommandResult::End::Exited : CommandResult::End::TimedOut;
        }
    }
    return CommandResult::End::Exited;
}

}  // namespace

CommandResult RunCommand(const std::vector<std::string>& command,
                         const std::map<std::string, std::string>& environment,
                         std::chrono::seconds timeLimit) {
    const auto deadline = steady_clock::now() + timeLimit;
    std::vector<std::string> arguments = command;
    std::vector<std::string> variables;
    variables.reserve(environment.size());
    for (const auto& [name, value] : environment) {
        variables.push_back(name);
        variables.back().append("=").append(value);
    }
    const std::vector<char*> argumentPointers = Pointers(arguments);
    const std::vector<char*> variablePointers = Pointers(variables);
    Pipe output = MakePipe();
    Pipe errors = MakePipe();
    const pid_t self = ::getpid();
    const pid_t pid = ::fork();
    if (pid < 0) {
        ThrowErrno("cannot create a process for the check");
    }
    if (pid == 0) {
        Execute(self, output.writer.Get(), errors.writer.Get(), argumentPointers.data(),
                variablePointers.data());
    }
    (void)::setpgid(pid, pid);
    output.writer = {};
    errors.writer = {};
    CommandResult result;
    result.end = Collect(
        Sys::PidFd::Open(pid),
        {Stream(output.reader.Get(), result.output), Stream(errors.reader.Get(), result.errors)},
        deadline);
    (void)::kill(-pid, SIGKILL);  // before it is reaped, so its pid is not reused yet
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (result.end == CommandResult::End::Exited) {
        result.end =
            WIFSIGNALED(status) ? CommandResult::End::Signalled : CommandResult::End::Exited;
        result.code = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
    }
    return result;
}

}  // namespace Wrap
