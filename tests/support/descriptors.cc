#include "support/descriptors.h"

#include "support/deadline.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <system_error>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Test {

int OrThrow(int result, std::string_view what) {
    if (result < 0) {
        const int error = errno;
        throw std::system_error(error, std::generic_category(), std::string(what));
    }
    return result;
}

Sys::OwnedFd BindAt(const std::string& path, int type) {
    Sys::OwnedFd socket(OrThrow(::socket(AF_UNIX, type | SOCK_CLOEXEC, 0), "socket"));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    OrThrow(::bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)),
            path);
    return socket;
}

Pipe::Pipe() {
    std::array<int, 2> ends{};
    OrThrow(::pipe2(ends.data(), O_CLOEXEC), "pipe2");
    reader.Reset(ends[0]);
    writer.Reset(ends[1]);
}

std::string ReadToEnd(int descriptor) {
    const Deadline deadline;
    const bool waits = (::fcntl(descriptor, F_GETFL) & O_NONBLOCK) == 0;
    std::string text;
    std::array<char, 65536> piece;
    for (;;) {
        if (waits) {
            deadline.Await(descriptor, POLLIN, "the end of what a child writes");
        }
        const ssize_t count = ::read(descriptor, piece.data(), piece.size());
        if (count <= 0) {
            return text;
        }
        text.append(piece.data(), static_cast<std::size_t>(count));
    }
}

std::string StreamName(int descriptor) {
    struct stat status{};
    OrThrow(::fstat(descriptor, &status), "fstat");
    return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

LoweredLimit::LoweredLimit(int resource, rlim_t value)
    : resource(resource), previousHandler(std::signal(SIGXFSZ, SIG_IGN)) {
    OrThrow(::getrlimit(static_cast<__rlimit_resource_t>(resource), &previous), "getrlimit");
    const rlimit lowered{value, previous.rlim_max};
    OrThrow(::setrlimit(static_cast<__rlimit_resource_t>(resource), &lowered), "setrlimit");
}

LoweredLimit::~LoweredLimit() {
    (void)::setrlimit(static_cast<__rlimit_resource_t>(resource), &previous);  // as it was
    (void)std::signal(SIGXFSZ, previousHandler);
}

std::vector<char*> PointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

RunningShell::RunningShell(const std::string& command)
    : output(::popen(command.c_str(), "re"), ::pclose) {}

std::string RunningShell::NextLine() {
    std::string line;
    for (int byte = 0; (byte = std::fgetc(output.get())) != EOF && byte != '\n';) {
        line += static_cast<char>(byte);
    }
    return line;
}

std::string OutputOfShell(const std::string& command) {
    std::FILE* const pipe = ::popen(command.c_str(), "re");
    std::string output = ReadToEnd(::fileno(pipe));
    EXPECT_EQ(::pclose(pipe), 0) << command << '\n' << output;
    return output;
}

std::string AnswerOfChild(const std::function<std::string()>& question) {
    Pipe pipe;
    const pid_t child = ::fork();
    if (child == 0) {
        std::string answer;
        try {
            answer = question();
        } catch (const std::exception& exception) {
            answer = std::string("exception: ") + exception.what();
        }
        (void)!::write(pipe.writer.Get(), answer.data(), answer.size());  // the test sees its lack
        ::_exit(0);
    }
    pipe.writer.Reset();
    std::string answer = ReadToEnd(pipe.reader.Get());
    (void)::waitpid(child, nullptr, 0);  // ECHILD where SIGCHLD is ignored
    return answer;
}

IdleProcess::IdleProcess(const char* name) {
    std::array<char, 16> ownName{};
    (void)::prctl(PR_GET_NAME, ownName.data());
    (void)::prctl(PR_SET_NAME, name == nullptr ? ownName.data() : name);  // inherited by the child
    pid = OrThrow(::fork(), "fork");
    if (pid == 0) {
        (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
        for (;;) {
            ::pause();
        }
    }
    (void)::prctl(PR_SET_NAME, ownName.data());
}

void IdleProcess::MoveTo(const std::string& cgroup) const {
    std::ofstream(cgroup + "/cgroup.procs") << pid << std::flush;
}

bool IdleProcess::HasEnded() const {
    siginfo_t ended{};
    return ::waitid(P_PID, static_cast<id_t>(pid), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           ended.si_pid == pid;
}

void IdleProcess::End() {
    if (pid > 0) {
        (void)::kill(pid, SIGKILL);  // not reaped yet, so the number is still its own
        (void)::waitpid(pid, nullptr, 0);
    }
    pid = -1;
}

}  // namespace Test
