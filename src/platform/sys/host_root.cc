#include "platform/sys/host_root.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <sys/stat.h>

namespace Sys {

namespace {

constexpr const char* kRootVariable = "SENTREL_ROOT";

std::string ReadRoot() {
    const char* value = std::getenv(kRootVariable);
    std::string root = value == nullptr ? "" : value;
    while (!root.empty() && root.back() == '/') {
        root.pop_back();
    }
    return root;
}

// Without trailing slashes, so "/" becomes empty.
const std::string& Root() {
    static const std::string sRoot = ReadRoot();
    return sRoot;
}

}  // namespace

std::string HostPath(std::string_view path) { return Root() + std::string(path); }

std::string HostRootProblem() {
    const std::string& root = Root();
    if (root.empty()) {
        return "";
    }
    const std::string value = std::string(kRootVariable) + "=" + root;
    const std::string advice = "; set it to the absolute path of a directory, or unset it";
    if (root.front() != '/') {
        return value + " is a relative path" + advice;
    }
    struct stat status{};
    if (::stat(root.c_str(), &status) != 0) {
        return value + " cannot be used: " + std::generic_category().message(errno) + advice;
    }
    return S_ISDIR(status.st_mode) ? "" : value + " is not a directory" + advice;
}

}  // namespace Sys
