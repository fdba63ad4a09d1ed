// Notifies the service manager that started this process (sd_notify(3)): sends each message
// "NAME=VALUE" as a datagram to the socket in NOTIFY_SOCKET.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace Pellmar::Service {

// Without a service manager every notification does nothing. Any thread.
class ServiceManager {
  public:
    // Reads NOTIFY_SOCKET ("/path", or "@name" for an abstract socket), WATCHDOG_USEC and
    // WATCHDOG_PID. Logs unusable values at level 3.
    ServiceManager();

    // How often the watchdog must be fed at least; 0 if it does not watch this process.
    std::chrono::microseconds GetWatchdogPeriod() const { return watchdogPeriod; }

    void SendReady() const { Notify("READY=1"); }
    void SendStopping() const { Notify("STOPPING=1"); }
    void FeedWatchdog() const { Notify("WATCHDOG=1"); }
    // A line for people, such as `systemctl status` shows.
    void SendStatus(const std::string& line) const { Notify("STATUS=" + line); }

  private:
    // Logs a failure at level 3.
    void Notify(std::string_view message) const;

    std::string socketName;  // empty without a service manager
    std::chrono::microseconds watchdogPeriod{0};
};

}  // namespace Pellmar::Service
