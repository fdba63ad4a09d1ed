// Tells the service manager that started this process how it is doing: the protocol of
// sd_notify(3), one datagram of "NAME=VALUE" a message, to the socket that NOTIFY_SOCKET names.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace Pellmar::Service {

// Without a service manager every notification does nothing. One thread.
class ServiceManager {
  public:
    // Reads NOTIFY_SOCKET ("/path", or "@name" of an abstract socket), WATCHDOG_USEC and
    // WATCHDOG_PID. Logs at level 3 what cannot be used.
    ServiceManager();

    // How often the watchdog wants to be fed at least: 0 when it does not watch this process.
    std::chrono::microseconds GetWatchdogPeriod() const { return watchdogPeriod; }

    void TellReady() const { Notify("READY=1"); }
    void TellStopping() const { Notify("STOPPING=1"); }
    void FeedWatchdog() const { Notify("WATCHDOG=1"); }

  private:
    // A failure is logged at level 3.
    void Notify(std::string_view message) const;

    std::string socketName;  // empty: nobody to tell
    std::chrono::microseconds watchdogPeriod{0};
};

}  // namespace Pellmar::Service
