#include "support/daemon_process.h"

#include "platform/sys/proc_file.h"
#include "support/descriptors.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <system_error>
#include <tuple>
#include <utility>

#include <linux/close_range.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Test {
namespace {

// A datagram socket with an abstract address that the kernel picks, as NOTIFY_SOCKET names it.
std::pair<Sys::OwnedFd, std::string> MakeNotificationSocket() {
    Sys::OwnedFd socket(
        OrThrow(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0), "notification socket"));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socklen_t size = sizeof(address.sun_family);
    OrThrow(::bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), size), "its address");
    size = sizeof(address);
    OrThrow(::getsockname(socket.Get(), reinterpret_cast<sockaddr*>(&address), &size),
            "its address");
    const std::size_t nameSize = size - offsetof(sockaddr_un, sun_path) - 1;
    return {std::move(socket), "@" + std::string(address.sun_path + 1, nameSize)};
}

// The environment of the test, with that of a service manager and of `options` in place of its own.
std::vector<std::string> MakeEnvironment(const DaemonOptions& options, int standardError,
                                         const std::string& notifySocket) {
    std::vector<std::string> environment;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string_view text(*variable);
        if (!text.starts_with("SENTREL_") && !text.starts_with("NOTIFY_SOCKET=") &&
            !text.starts_with("JOURNAL_STREAM=") && !text.starts_with("WATCHDOG_")) {
            environment.emplace_back(text);
        }
    }
    environment.push_back("NOTIFY_SOCKET=" + notifySocket);
    if (!options.root.empty()) {
        environment.push_back("SENTREL_ROOT=" + options.root);
    }
    if (!options.logLevel.empty()) {
        environment.push_back("SENTREL_LOG_LEVEL=" + options.logLevel);
    }
    if (!options.cgroupRoot.empty()) {
        environment.push_back("SENTREL_CGROUP_ROOT=" + options.cgroupRoot);
    }
    if (options.logsToJournal) {
        environment.push_back("JOURNAL_STREAM=" + StreamName(standardError));
    }
    return environment;
}

// All that it needs is made before: between fork and exec only async-signal-safe calls may run.
[[noreturn]] void RunChild(pid_t parent, int standardError, bool startWithPendingStop,
                           char* const* arguments, char* const* environment) {
    bool ready = ::prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && ::getppid() == parent &&
                 ::dup2(standardError, STDERR_FILENO) >= 0;
    if (startWithPendingStop) {
        sigset_t stop;
        sigemptyset(&stop);
        sigaddset(&stop, SIGTERM);
        ready = ready && ::sigprocmask(SIG_BLOCK, &stop, nullptr) == 0 && ::raise(SIGTERM) == 0;
    }
    ready = ready && ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC) == 0;
    if (ready) {
        ::execve(arguments[0], arguments, environment);
    }
    ::_exit(127);
}

}  // namespace

DaemonProcess::DaemonProcess(const DaemonOptions& options) {
    std::string notifySocket;
    std::tie(notifications, notifySocket) = MakeNotificationSocket();

    const int standardError = options.standardError >= 0 ? options.standardError : log.Descriptor();
    std::vector<std::string> arguments = options.arguments;
    arguments.insert(arguments.begin(), options.program);
    if (!options.preparation.empty()) {
        arguments.insert(arguments.begin(),
                         {"/bin/sh", "-c", options.preparation + "; exec \"$0\" \"$@\""});
    }
    std::vector<std::string> environment = MakeEnvironment(options, standardError, notifySocket);
    const std::vector<char*> argumentPointers = PointersTo(arguments);
    const std::vector<char*> environmentPointers = PointersTo(environment);
    const pid_t parent = ::getpid();
    pid = OrThrow(::fork(), "starting the daemon");
    if (pid == 0) {
        RunChild(parent, standardError, options.startWithPendingStop, argumentPointers.data(),
                 environmentPointers.data());
    }
    process = Sys::PidFd::Open(pid);
    OrThrow(process.Get(), "a handle on the daemon");
}

// NOLINTNEXTLINE(bugprone-exception-escape): a daemon that survives SIGKILL ends all tests
DaemonProcess::~DaemonProcess() {
    Kill();
    if (testing::Test::HasFailure()) {
        std::cerr << "Log of the daemon:\n" << Log() << std::flush;
    }
}

bool DaemonProcess::WaitUntilReady() {
    std::string told;
    do {
        told = NextNotification();
    } while (!told.empty() && told.find("READY=1") == std::string::npos);
    return !told.empty();
}

std::string DaemonProcess::NextNotification() {
    std::array<char, 512> message{};
    if (Await(notifications.Get(), "a notification", Deadline()) == Event::Descriptor) {
        (void)::recv(notifications.Get(), message.data(), message.size() - 1, 0);
    }
    return message.data();
}

bool DaemonProcess::IsRunning() const { return !process.HasEnded(); }

void DaemonProcess::Send(int signal) const {
    (void)process.Signal(signal);  // it may have ended
}

int DaemonProcess::WaitForEnd() {
    if (hasEnded) {
        return exitStatus;
    }
    Await(process.Get(), "the daemon to end", Deadline());
    siginfo_t info{};
    OrThrow(
        ::waitid(static_cast<idtype_t>(P_PIDFD), static_cast<id_t>(process.Get()), &info, WEXITED),
        "taking the daemon's status");
    hasEnded = true;
    exitStatus = info.si_code == CLD_EXITED ? info.si_status : -info.si_status;
    return exitStatus;
}

int DaemonProcess::Stop() {
    Send(SIGTERM);
    return WaitForEnd();
}

void DaemonProcess::Kill() {
    Send(SIGKILL);
    WaitForEnd();
}

bool DaemonProcess::WaitForLog(std::string_view text, std::size_t count,
                               std::chrono::seconds patience) {
    const Deadline deadline(patience);
    const std::string awaited = "the log to say \"" + std::string(text) + '"';
    for (;;) {
        const bool mayGrow = IsRunning();
        if (CountLog(text) >= count) {
            return true;
        }
        if (!mayGrow) {
            return false;
        }
        if (Await(log.Changes(), awaited, deadline) == Event::Descriptor) {
            log.ForgetChanges();
        }
    }
}

std::map<int, std::string> DaemonProcess::OpenDescriptors() const {
    std::map<int, std::string> descriptors;
    const std::string folder = "/proc/" + std::to_string(pid) + "/fd";
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        std::error_code closedMeanwhile;
        const std::string target = std::filesystem::read_symlink(entry, closedMeanwhile).string();
        if (!closedMeanwhile) {
            descriptors.emplace(std::stoi(entry.path().filename().string()), target);
        }
    }
    return descriptors;
}

long DaemonProcess::StatusValue(std::string_view name) const {
    const std::string status = Sys::ReadProcFile("/proc/" + std::to_string(pid) + "/status");
    return std::stol(std::string(Sys::StatusField(status, name)));
}

DaemonProcess::Event DaemonProcess::Await(int descriptor, const std::string& awaited,
                                          const Deadline& deadline) const {
    std::array<pollfd, 2> entries{pollfd{descriptor, POLLIN, 0}, pollfd{process.Get(), POLLIN, 0}};
    while (::poll(entries.data(), entries.size(), deadline.MillisecondsLeft()) <= 0) {
        if (deadline.MillisecondsLeft() == 0) {
            throw std::runtime_error("waited in vain for " + awaited + "; its log:\n" + Log());
        }
    }
    return entries[0].revents != 0 ? Event::Descriptor : Event::End;
}

}  // namespace Test
