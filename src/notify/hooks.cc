#include "notify/hooks.h"

#include "platform/sys/owned_fd.h"
#include "platform/sys/pid_fd.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Notify {

namespace {

namespace fs = std::filesystem;

std::string MessageOf(int errorNumber) { return std::generic_category().message(errorNumber); }

// Why `path` may not be trusted; empty when it may.
std::string Distrust(const struct stat& status, uid_t owner) {
    if (status.st_uid != owner) {
        return "not owned by " + (owner == 0 ? std::string("root") : std::to_string(owner)) +
               "; run chown";
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return "writable by users other than its owner; run chmod go-w";
    }
    return "";
}

// A hook, nothing, or a refusal.
void AddEntry(const std::string& path, uid_t owner, Hooks& hooks) {
    struct stat status{};
    if (::lstat(path.c_str(), &status) != 0 || S_ISDIR(status.st_mode)) {
        return;
    }
    if (S_ISLNK(status.st_mode)) {
        hooks.refusals.push_back(path + ": a symbolic link; copy the program there");
        return;
    }
    if (!S_ISREG(status.st_mode) || (status.st_mode & S_IXUSR) == 0) {
        return;
    }
    const std::string why = Distrust(status, owner);
    if (why.empty()) {
        hooks.paths.push_back(path);
    } else {
        hooks.refusals.push_back(path + ": " + why);
    }
}

// A file in memory that holds `input` and is read from its beginning.
Sys::OwnedFd InputFile(std::string_view input) {
    Sys::OwnedFd file(::memfd_create("sentrel-notify", MFD_CLOEXEC));
    while (file.IsOpen() && !input.empty()) {
        const ssize_t written = ::write(file.Get(), input.data(), input.size());
        if (written <= 0 && errno != EINTR) {
            return {};
        }
        input.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
    (void)::lseek(file.Get(), 0, SEEK_SET);  // a file in memory can be sought
    return file;
}

// Starts the hook in a process group of its own. Returns 0 or the error number.
int Start(const std::string& path, int input, pid_t& process) {
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, STDERR_FILENO, STDOUT_FILENO);
    ::posix_spawn_file_actions_addchdir_np(&actions, "/");
    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    sigset_t none;
    sigset_t all;
    ::sigemptyset(&none);
    ::sigfillset(&all);
    ::posix_spawnattr_setsigmask(&attributes, &none);
    ::posix_spawnattr_setsigdefault(&attributes, &all);
    ::posix_spawnattr_setflags(
        &attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    std::string program = path;
    std::string searchPath = "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";
    std::string locale = "LC_ALL=C.UTF-8";
    const std::array<char*, 2> arguments = {program.data(), nullptr};
    const std::array<char*, 3> environment = {searchPath.data(), locale.data(), nullptr};
    const int error = ::posix_spawn(&process, path.c_str(), &actions, &attributes, arguments.data(),
                                    environment.data());
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&actions);
    return error;
}

// Waits until the process ends, `stop` is readable or the time is over. True when it has ended.
bool AwaitEnd(const Sys::PidFd& process, std::chrono::seconds timeout, int stop) {
    const auto end = std::chrono::steady_clock::now() + timeout;
    std::array<pollfd, 2> entries = {{{process.Get(), POLLIN, 0}, {stop, POLLIN, 0}}};
    while (!process.HasEnded() && entries[1].revents == 0) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            break;
        }
        (void)::poll(entries.data(), entries.size(), static_cast<int>(left.count()));
    }
    return process.HasEnded();
}

std::string TextOfStatus(int status) {
    if (WIFSIGNALED(status)) {
        return "killed by signal " + std::to_string(WTERMSIG(status));
    }
    const int code = WEXITSTATUS(status);
    return code == 0 ? "" : "exit status " + std::to_string(code);
}

}  // namespace

Hooks FindHooks(const std::string& directory, uid_t owner) {
    Hooks hooks;
    struct stat status{};
    if (::stat(directory.c_str(), &status) != 0) {
        return hooks;
    }
    if (const std::string why = Distrust(status, owner); !why.empty()) {
        hooks.refusals.push_back(directory + ": " + why);
        return hooks;
    }
    std::error_code error;
    std::vector<std::string> names;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        names.push_back(entry->path().filename().native());
    }
    if (error) {
        hooks.refusals.push_back(directory + ": " + error.message());
    }
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
        if (!name.starts_with('.')) {
            AddEntry(fs::path(directory) / name, owner, hooks);
        }
    }
    return hooks;
}

std::string RunHook(const std::string& path, std::string_view input, std::chrono::seconds timeout,
                    int stop) {
    const Sys::OwnedFd file = InputFile(input);
    if (!file.IsOpen()) {
        return "cannot hold its input: " + MessageOf(errno);
    }
    pid_t process = 0;
    if (const int error = Start(path, file.Get(), process); error != 0) {
        return "cannot start: " + MessageOf(error);
    }
    const Sys::PidFd descriptor = Sys::PidFd::Open(process);
    const bool hasEnded = AwaitEnd(descriptor, timeout, stop);
    if (!hasEnded) {
        (void)::kill(-process, SIGKILL);  // the group lives as long as its leader is not reaped
    }
    int status = 0;
    while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    if (!hasEnded) {
        return "killed after " + std::to_string(timeout.count()) +
               " s; make it faster, or raise hook_timeout_in_secs";
    }
    return TextOfStatus(status);
}

}  // namespace Notify
