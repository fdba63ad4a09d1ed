#include "platform/kernel/interface/kernel_signature.h"

#include "platform/kernel/spawn/spawn_child.h"
#include "platform/sys/pid_fd.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <regex>

#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace Kernel {

namespace {

constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";

// What a kernel without a call answers, or a sandbox that takes it away.
bool IsRefusal(int error) { return error == ENOSYS || error == EPERM; }

// Clones into a descriptor that is never open: EBADF from a kernel that looks at it. An older one
// finds the flag or the size of the arguments invalid.
bool OffersCloneIntoGroup() {
    ChildPlan nothing;  // should a child come about after all, it ends at once
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

// 1 to 12; 0 for what is no English month.
unsigned MonthNumber(std::string_view name) {
    const std::size_t position = kMonths.find(name.substr(0, 3));
    return position == std::string_view::npos ? 0 : static_cast<unsigned>(position / 3 + 1);
}

std::string FormatDate(const std::string& year, unsigned month, const std::string& day,
                       const std::string& time) {
    std::array<char, 64> text{};
    (void)std::snprintf(text.data(), text.size(), "%s-%02u-%02luT%.8sZ", year.c_str(), month,
                        std::stoul(day), time.c_str());
    return text.data();
}

}  // namespace

bool KernelOffersInterface(bool intoGroup) {
    return (intoGroup ? OffersCloneIntoGroup() : OffersClone()) && OffersPidFds() &&
           OffersCloseRange();
}

std::string BuildDateOfVersion(std::string_view version) {
    static const std::regex sLongForm(
        R"((Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) +(\d{1,2}) (\d\d:\d\d:\d\d) \S+ (\d{4}))");
    static const std::regex sShortForm(R"((\d{4})-(\d\d)-(\d\d))");
    std::match_results<std::string_view::const_iterator> found;
    if (std::regex_search(version.begin(), version.end(), found, sLongForm)) {
        return FormatDate(found.str(4), MonthNumber(found.str(1)), found.str(2), found.str(3));
    }
    if (std::regex_search(version.begin(), version.end(), found, sShortForm)) {
        return found.str(1) + "-" + found.str(2) + "-" + found.str(3) + "T00:00:00Z";
    }
    return "0000-00-00T00:00:00Z";
}

std::string RunningKernelDate() {
    utsname name{};
    (void)::uname(&name);  // fails for a bad argument only
    return BuildDateOfVersion(name.version);
}

const char* ProgramDate() {
    // __DATE__ is "Mmm dd yyyy", with a blank for a missing first digit.
    static const std::string sDate = [] {
        const std::string date = __DATE__;
        return FormatDate(date.substr(7), MonthNumber(date), date.substr(4, 2), __TIME__);
    }();
    return sDate.c_str();
}

}  // namespace Kernel
