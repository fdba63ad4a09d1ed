#include "ctl/host/input_file.h"

#include "ctl/show/failure.h"
#include "platform/sys/owned_fd.h"
#include "platform/sys/read_file.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace Ctl {

namespace {

// Throws the failure of a file that was named on the command line; the message calls it `name`.
[[noreturn]] void Fail(const std::string& name, int errorNumber) {
    throw Failure("cannot read " + name, errorNumber, "name a file that this user can read");
}

}  // namespace

std::string ReadInputFile(const std::string& path, std::size_t maxBytes, const std::string& what) {
    const bool isInput = path == "-";
    const std::string name = isInput ? "standard input" : what + " " + path;
    const Sys::OwnedFd opened(isInput ? -1 : ::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string text;
    if (!isInput && !opened.IsOpen()) {
        Fail(name, errno);
    }
    const int file = isInput ? STDIN_FILENO : opened.Get();
    if (const int error = Sys::ReadAll(file, maxBytes + 1, text); error != 0) {
        Fail(name, error);
    }
    return text;
}

std::string ReadRegularFile(const std::string& path, std::size_t maxBytes,
                            const std::string& what) {
    const std::string name = what + " " + path;
    std::string text;
    const int error = Sys::ReadRegularFile(path, maxBytes + 1, text);
    if (error == ENXIO) {
        throw Failure(name + " is not a regular file", "remove it");
    }
    if (error != 0) {
        throw Failure(name + " cannot be read", error, error == EACCES ? "run this as root" : "");
    }
    return text;
}

}  // namespace Ctl
