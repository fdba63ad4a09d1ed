// Sends the service manager's datagrams. The run loop decides when.
#include "platform/pellmar/service/service_manager.h"

#include "platform/pellmar/log/logger.h"
#include "platform/sys/owned_fd.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>
#include <system_error>

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace Pellmar::Service {

namespace {

// How long a service manager that does not read may block this process.
constexpr timeval kSendTimeout{5, 0};

std::string_view EnvironmentValue(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? std::string_view(value) : std::string_view();
}

std::optional<std::int64_t> DecimalNumber(std::string_view text) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

bool IsUsableSocketName(std::string_view name) {
    return name.size() > 1 && name.size() < sizeof(sockaddr_un::sun_path) &&
           (name.front() == '/' || name.front() == '@');
}

std::chrono::microseconds ReadWatchdogPeriod() {
    const std::string_view period = EnvironmentValue("WATCHDOG_USEC");
    const std::string_view process = EnvironmentValue("WATCHDOG_PID");
    // The variables are inherited: with another process's number they are not meant for this one.
    if (period.empty() || (!process.empty() && DecimalNumber(process) != ::getpid())) {
        return std::chrono::microseconds(0);
    }
    const std::int64_t microseconds = DecimalNumber(period).value_or(0);
    if (microseconds <= 0) {
        LogInternal(Logger::sDefaultLogger, 3,
                    "WATCHDOG_USEC is \"%1\", not a number of microseconds: the watchdog is not "
                    "fed; set WatchdogSec= in the unit",
                    period);
        return std::chrono::microseconds(0);
    }
    return std::chrono::microseconds(microseconds);
}

// Returns 0 or the error number.
int SendDatagram(const std::string& socketName, std::string_view message) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::copy(socketName.begin(), socketName.end(), address.sun_path);
    if (socketName.front() == '@') {
        address.sun_path[0] = '\0';  // an abstract name: no file, no terminating zero byte
    }
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + socketName.size());

    const Sys::OwnedFd sender(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!sender.IsOpen() || ::setsockopt(sender.Get(), SOL_SOCKET, SO_SNDTIMEO, &kSendTimeout,
                                         sizeof kSendTimeout) != 0) {
        return errno;
    }
    const ssize_t sent = ::sendto(sender.Get(), message.data(), message.size(), MSG_NOSIGNAL,
                                  reinterpret_cast<const sockaddr*>(&address), length);
    return sent < 0 ? errno : 0;
}

}  // namespace

ServiceManager::ServiceManager() {
    const std::string_view name = EnvironmentValue("NOTIFY_SOCKET");
    if (name.empty()) {
        return;
    }
    if (!IsUsableSocketName(name)) {
        LogInternal(Logger::sDefaultLogger, 3,
                    "NOTIFY_SOCKET is \"%1\", but must be an absolute path or \"@\" and a name, of "
                    "at most 107 bytes: the service manager is not notified",
                    name);
        return;
    }
    socketName = name;
    watchdogPeriod = ReadWatchdogPeriod();
}

void ServiceManager::Notify(std::string_view message) const {
    if (socketName.empty()) {
        return;
    }
    const int error = SendDatagram(socketName, message);
    if (error != 0) {
        LogInternal(Logger::sDefaultLogger, 3,
                    "Cannot send %1 to the service manager at NOTIFY_SOCKET %2: %3", message,
                    socketName, std::generic_category().message(error));
    }
}

}  // namespace Pellmar::Service
