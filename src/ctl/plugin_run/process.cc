// A forked process, the starter, whose descriptors 0 to 2 are the plugin's, launches the plugin and
// exits at once. This process adopts the plugin (PR_SET_CHILD_SUBREAPER, prctl(2)) and later
// everything that the plugin leaves behind.
//
// The kernel counts a process's peak resident size from before the exec, so it is at least the
// starter's. That is why the starter is a separate process: a fork has few pages.
#include "ctl/plugin_run/process.h"

#include "ctl/host/daemon_settings.h"
#include "ctl/plugin_run/failure.h"
#include "ctl/plugin_run/leftovers.h"
#include "platform/sys/host_root.h"
#include "plugins/launch.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ctl {

namespace {

constexpr std::size_t kPieceBytes = 65536;
constexpr std::chrono::milliseconds kMostWait{1000};  // after which the time is shown anew
// After the plugin has exited, its sockets hold no more than this, unless other processes keep
// writing.
constexpr int kMaxDrainPieces = 16;

// The message of the starter.
struct StarterMessage {
    Sentrel::Launch launch;
    // If not 0, nothing was launched: the error number that kept the user from executing the
    // plugin's file.
    int userError = 0;
    std::chrono::steady_clock::time_point started;
    std::uint64_t peakKB = 0;  // of the starter itself
};

[[noreturn]] void FailToStart(const std::string& step) {
    throw Failure("cannot start the plugin, " + step, errno,
                  "free some memory or raise the limit of open files");
}

// Keeps this process's descriptors above the plugin's three, even if it was started without those.
Sys::OwnedFd Require(int descriptor, const char* step) {
    Sys::OwnedFd opened(descriptor);
    if (opened.IsOpen() && opened.Get() <= STDERR_FILENO) {
        opened.Reset(::fcntl(opened.Get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    }
    if (!opened.IsOpen()) {
        FailToStart(step);
    }
    return opened;
}

struct Ends {
    Sys::OwnedFd own;
    Sys::OwnedFd other;
};

Ends MakeSocketPair() {
    std::array<int, 2> pair{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) != 0) {
        pair = {-1, -1};
    }
    return {Require(pair[0], "creating a socket"), Require(pair[1], "creating a socket")};
}

Sys::OwnedFd TakeOverSignals() {
    (void)std::signal(SIGCHLD, SIG_DFL);  // an ignored one would lose the exit status
    sigset_t set{};
    (void)::sigemptyset(&set);  // these cannot fail for signals that exist
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
        (void)::sigaddset(&set, signal);
    }
    (void)::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    return Require(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK), "waiting for signals");
}

std::uint64_t PeakOf(const rusage& usage) { return static_cast<std::uint64_t>(usage.ru_maxrss); }

std::chrono::microseconds DurationOf(const timeval& time) {
    return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
}

// Makes the starter become that user. It keeps the right to use other users' files, which must not
// apply to the plugin's own file, as it does not in the daemon; access(2) ignores that right.
void LaunchAs(const PluginStarter& starter, const Sentrel::Plugin& plugin,
              StarterMessage& message) {
    if (starter.inheritance) {
        Inherit(*starter.inheritance);
    }
    const std::optional<RunUser>& user = starter.user;
    if (user && (!Become(*user) || ::access(Sys::HostPath(plugin.GetPath()).c_str(), X_OK) != 0)) {
        message.userError = errno;
        return;
    }
    message.launch = Sentrel::LaunchPlugin(plugin, SilentLogger());
}

// The code of the starter. An exception ends it, and the message is then missing.
[[noreturn]] void RunStarter(const Sentrel::Plugin& plugin, const PluginStarter& starter,
                             const std::array<int, 3>& descriptors, int report) noexcept {
    for (std::size_t index = 0; index < descriptors.size(); ++index) {
        if (::dup2(descriptors[index], static_cast<int>(index)) < 0) {
            ::_exit(1);
        }
    }
    StarterMessage message;
    message.started = std::chrono::steady_clock::now();
    LaunchAs(starter, plugin, message);
    rusage own{};
    (void)::getrusage(RUSAGE_SELF, &own);  // cannot fail for this process
    message.peakKB = PeakOf(own);
    const bool isSent = ::write(report, &message, sizeof(message)) == sizeof(message);
    ::_exit(isSent ? 0 : 1);
}

StarterMessage ReadMessage(int report, pid_t starter) {
    StarterMessage message;
    ssize_t count = 0;
    do {
        count = ::read(report, &message, sizeof(message));
    } while (count < 0 && errno == EINTR);
    while (::waitpid(starter, nullptr, 0) < 0 && errno == EINTR) {
    }
    if (count != sizeof(message)) {
        throw Failure("cannot start the plugin: the process that starts it has exited",
                      "free some memory and try again");
    }
    return message;
}

}  // namespace

PluginProcess::PluginProcess(const Sentrel::Plugin& plugin, const PluginStarter& starter)
    : signals(TakeOverSignals()) {
    (void)::prctl(PR_SET_CHILD_SUBREAPER, 1);  // cannot fail
    Start(plugin, starter);
    // The pid cannot be reused until this process, the only one that can, has waited for it.
    process = Sys::PidFd::Open(pid);
    if (!process.IsOpen()) {
        FailToStart("holding its process");
    }
}

PluginProcess::~PluginProcess() {
    if (pid != 0 && process.IsOpen()) {
        (void)process.Signal(SIGKILL);  // fails only if it has exited
        (void)::waitpid(pid, nullptr, 0);
        (void)EndDescendants();
    }
}

void PluginProcess::Start(const Sentrel::Plugin& plugin, const PluginStarter& starter) {
    const Sys::OwnedFd input = Require(::open("/dev/null", O_RDONLY | O_CLOEXEC), "/dev/null");
    Ends outputEnds = MakeSocketPair();
    Ends errorEnds = MakeSocketPair();
    Ends messageEnds = MakeSocketPair();
    const pid_t forked = ::fork();
    if (forked == 0) {
        RunStarter(plugin, starter, {input.Get(), outputEnds.other.Get(), errorEnds.other.Get()},
                   messageEnds.other.Get());
    }
    if (forked < 0) {
        FailToStart("creating a process");
    }
    messageEnds.other.Reset();
    const StarterMessage message = ReadMessage(messageEnds.own.Get(), forked);
    if (message.userError != 0) {
        throw ExplainUserFailure(plugin, starter.user->user, message.userError);
    }
    if (message.launch.result != Sentrel::Launch::Result::Started) {
        throw ExplainFailure(plugin, message.launch);
    }
    pid = message.launch.pid;
    started = message.started;
    inheritedPeakKB = message.peakKB;
    output.socket = std::move(outputEnds.own);
    error.socket = std::move(errorEnds.own);
}

PluginEnd PluginProcess::Await(std::chrono::seconds timeout, LiveOutput* shown) {
    live = shown;
    PluginEnd end;
    Watch(timeout, end);
    end.wallTime = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - started);
    Reap(end);
    Drain(output);
    Drain(error);
    if (live != nullptr) {
        live->Finish();
    }
    end.output = std::move(output.taken);
    end.error = std::move(error.taken);
    end.left = EndDescendants();
    return end;
}

void PluginProcess::Watch(std::chrono::seconds timeout, PluginEnd& end) {
    Clock::time_point deadline = started + timeout;
    for (;;) {
        std::array<pollfd, 4> entries = {{{process.Get(), POLLIN, 0},
                                          {signals.Get(), POLLIN, 0},
                                          {output.socket.Get(), POLLIN, 0},
                                          {error.socket.Get(), POLLIN, 0}}};
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        const auto wait = std::clamp(left, std::chrono::milliseconds(0), kMostWait);
        if (::poll(entries.data(), entries.size(), static_cast<int>(wait.count())) < 0) {
            continue;  // interrupted: poll again
        }
        Take(output);
        Take(error);
        if (live != nullptr) {
            live->ShowTime(
                std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - started));
        }
        if (entries[0].revents != 0) {
            return;
        }
        const bool isInterrupted = TakeSignal();
        if (!isInterrupted && Clock::now() < deadline) {
            continue;
        }
        if (end.asked == PluginEnd::Asked::Not) {
            end.asked =
                isInterrupted ? PluginEnd::Asked::Interrupted : PluginEnd::Asked::TimeWasOver;
            (void)process.Signal(SIGTERM);  // fails only when it has ended
            deadline = Clock::now() + kEndPatience;
        } else {
            end.wasKilled = true;
            (void)process.Signal(SIGKILL);  // fails only if it has exited
            deadline = Clock::now() + std::chrono::hours(1);
        }
    }
}

bool PluginProcess::TakeSignal() const {
    signalfd_siginfo taken{};
    return ::read(signals.Get(), &taken, sizeof(taken)) == sizeof(taken);
}

void PluginProcess::Reap(PluginEnd& end) {
    int status = 0;
    rusage usage{};
    while (::wait4(pid, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    process = {};
    end.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    end.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    end.userTime = DurationOf(usage.ru_utime);
    end.systemTime = DurationOf(usage.ru_stime);
    end.peakKB = std::max(PeakOf(usage), inheritedPeakKB);
    end.peakIsBound = PeakOf(usage) <= inheritedPeakKB;
}

// Reads one piece of the available output.
void PluginProcess::Take(Capture& capture) {
    std::array<char, kPieceBytes> piece;
    const ssize_t count = ::recv(capture.socket.Get(), piece.data(), piece.size(),
                                 MSG_DONTWAIT);  // fails if the socket is not open
    if (count == 0) {
        capture.socket.Reset();
    }
    if (count > 0) {
        const auto bytes = static_cast<std::size_t>(count);
        capture.taken.bytes += bytes;
        const std::size_t room = kMaxKeptOutput - capture.taken.text.size();
        const std::string_view kept(piece.data(), std::min(bytes, room));
        capture.taken.text += kept;
        if (live != nullptr) {
            live->Take(&capture == &output ? LiveOutput::Output : LiveOutput::Error, kept);
        }
    }
}

void PluginProcess::Drain(Capture& capture) {
    for (int pieces = 0; pieces < kMaxDrainPieces; ++pieces) {
        const std::uint64_t before = capture.taken.bytes;
        Take(capture);
        if (capture.taken.bytes == before) {
            return;
        }
    }
}

}  // namespace Ctl
