#include "support/descriptors.h"

#include "support/deadline.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Test {

int OrThrow(int result, const char* what) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
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

}  // namespace Test
