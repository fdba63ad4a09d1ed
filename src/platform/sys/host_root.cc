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

std::string HostRootProblem(std::string_view name) {
    const std::string& root = Root();
    if (root.empty()) {
        return "";
    }
    const std::string value = std::string(name) + "=" + root;
    const std::string advice = "; use the absolute path of a directory";
    if (root.front() != '/') {
        return value + " is a relative path" + advice;
    }
    struct stat status{};
    if (::stat(root.c_str(), &status) != 0) {
        return "cannot use " + value + ": " + std::generic_category().message(errno) + advice;
    }
    return S_ISDIR(status.st_mode) ? "" : value + " is not a directory" + advice;
}

}  // namespace Sys
