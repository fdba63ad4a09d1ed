#include "platform/hostlib/hostlib.h"

#include "platform/sys/host_root.h"
#include "platform/sys/journal_stream.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr const char* kSourceName = "hostlib.cc";

bool IsClosed(int descriptor) { return fcntl(descriptor, F_GETFD) == -1 && errno == EBADF; }

// Goes upwards because open returns the lowest free descriptor, which is then the closed one. Not
// close-on-exec, since child processes need standard streams too.
void OpenStandardDescriptors() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (IsClosed(descriptor) && open("/dev/null", O_RDWR) == -1) {
            throw std::runtime_error("cannot open /dev/null in place of closed descriptor " +
                                     std::to_string(descriptor) + ": " +
                                     std::generic_category().message(errno) +
                                     "; start with descriptors 0, 1 and 2 open");
        }
    }
}

}  // namespace

void FeatureState_InitSilentMode() {
    OpenStandardDescriptors();
    const std::string problem = Sys::HostRootProblem();
    if (!problem.empty()) {
        throw std::runtime_error(problem);
    }
}

int File_UnlinkNoFollow(const std::string& path) { return unlink(path.c_str()) == 0 ? 0 : errno; }

char* Str_SafeAsprintf(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    char* text = nullptr;
    const int length = vasprintf(&text, format, arguments);
    va_end(arguments);
    if (length < 0) {
        Panic("VERIFY %s:%d\n", kSourceName, __LINE__);
    }
    return text;
}

char* UtilSafeStrdup0(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    char* copy = strdup(text);
    if (copy == nullptr) {
        Panic("VERIFY %s:%d\n", kSourceName, __LINE__);
    }
    return copy;
}

void Panic(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    (void)std::fputs(Sys::ErrorPrefix(), stderr);  // nowhere else to report
    (void)vfprintf(stderr, format, arguments);     // likewise
    va_end(arguments);
    std::abort();
}
