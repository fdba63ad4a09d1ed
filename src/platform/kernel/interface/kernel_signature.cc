#include "platform/kernel/interface/kernel_signature.h"

#include "platform/kernel/spawn/spawn_child.h"
#include "platform/sys/pid_fd.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>

#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace Kernel {

namespace {

constexpr std::string_view kMonths = " Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec ";

// The errors of a kernel without the call, or of a sandbox that blocks it.
bool IsRefusal(int error) { return error == ENOSYS || error == EPERM; }

// Clones into a descriptor that is never open. A kernel with the feature returns EBADF; an older
// one rejects the flag or the size of the arguments.
bool OffersCloneIntoGroup() {
    ChildPlan nothing;  // should a child start nevertheless, it exits at once
    Sys::PidFd process;
    const long result = CloneChild(nothing, INT_MAX, process);
    const int error = static_cast<int>(-result);
    return !IsRefusal(error) && error != EINVAL && error != E2BIG;
}

// Without arguments the call is invalid where it exists.
bool OffersClone() { return ::syscall(SYS_clone3, nullptr, 0) != -1 || !IsRefusal(errno); }

bool OffersPidFds() {
    return ::syscall(SYS_pidfd_send_signal, -1, 0, nullptr, 0) != -1 || !IsRefusal(errno);
}

bool OffersCloseRange() { return ::syscall(SYS_close_range, 1, 0, 0) != -1 || !IsRefusal(errno); }

}  // namespace

bool KernelOffersInterface(bool intoGroup) {
    return (intoGroup ? OffersCloneIntoGroup() : OffersClone()) && OffersPidFds() &&
           OffersCloseRange();
}

std::string BuildDateOfVersion(const std::string& version) {
    for (const char* at = version.c_str(); *at != '\0'; ++at) {
        std::array<char, 4> name{};
        unsigned day = 0;
        unsigned hour = 0;
        unsigned minute = 0;
        unsigned second = 0;
        unsigned year = 0;
        const int found = std::sscanf(at, "%3[A-Za-z] %2u %2u:%2u:%2u %*s %4u", name.data(), &day,
                                      &hour, &minute, &second, &year);
        const std::size_t month = kMonths.find(std::string(" ") + name.data() + ' ');
        if (found == 6 && month != std::string_view::npos) {
            std::array<char, 64> date{};
            (void)std::snprintf(date.data(), date.size(), "%04u-%02zu-%02uT%02u:%02u:%02uZ", year,
                                month / 4 + 1, day, hour, minute, second);
            return date.data();
        }
    }
    for (const char* at = version.c_str(); *at != '\0'; ++at) {
        int length = 0;
        (void)std::sscanf(at, "%*4[0-9]-%*2[0-9]-%*2[0-9]%n", &length);  // 0 unless all match
        if (constexpr int kDateLength = 10; length == kDateLength) {
            return std::string(at, kDateLength) + "T00:00:00Z";
        }
    }
    return "0000-00-00T00:00:00Z";
}

std::string RunningKernelDate() {
    utsname name{};
    (void)::uname(&name);  // fails for an invalid argument only
    return BuildDateOfVersion(name.version);
}

const char* ProgramDate() {
    // __DATE__ is "Mmm dd yyyy", with a blank for a missing first digit.
    static const std::string sDate = [] {
        const std::string date = __DATE__;
        return BuildDateOfVersion(date.substr(0, 6) + " " __TIME__ " UTC" + date.substr(6));
    }();
    return sDate.c_str();
}

}  // namespace Kernel
