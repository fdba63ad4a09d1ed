// The application: identity, set-up, run loop, end. Talks to the service manager (readiness,
// watchdog).
#pragma once

#include "platform/pellmar/config.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/pellmar/work/scheduler.h"

#include <cstdint>
#include <string>

namespace Pellmar::Service {

struct AppInfo {
    std::string name;
    std::string version;
    std::uint32_t buildNumber = 0;
    std::uint32_t reserved = 0;
};

// The one application of the process; from GetApp, after InitApp.
class App {
  public:
    const AppInfo& GetInfo() const { return info; }
    // Logger::sDefaultLogger.
    const Ref<Logger>& GetLogger() const { return Logger::sDefaultLogger; }
    // What InitApp was given.
    const Ref<Config>& GetConfig() const { return config; }
    // On the pool of the process and the monotonic clock; made at first use, never destroyed.
    System::Scheduler& GetScheduler();
    // Puts another scheduler in its place, one on a clock that a test drives; null takes it away.
    // While no other thread asks for the scheduler.
    void UseScheduler(System::Scheduler* scheduler) { replacement = scheduler; }
    // Blocks until SIGTERM or SIGINT arrives (one that arrived since InitApp ends it at once).
    // SIGHUP is logged and changes nothing. Tells the service manager READY=1 on entry and
    // STOPPING=1 at the end, and feeds its watchdog. Main thread. Throws IOException when waiting
    // for signals fails.
    void Run();

  private:
    friend void InitApp(const Ref<Config>& config);
    friend void SetAppInfo(const AppInfo& info);
    friend App& GetApp();

    App() = default;

    AppInfo info;
    Ref<Config> config;
    System::Scheduler* replacement = nullptr;
};

// Registers the identity; before InitApp.
void SetAppInfo(const AppInfo& info);

// Makes the framework ready: blocks SIGTERM, SIGINT and SIGHUP for Run, ignores SIGPIPE, sets the
// log level (key "log/level" of the framework's own entry, overridden by SENTREL_LOG_LEVEL). Starts
// no thread. Main thread, once. Throws a std::exception.
void InitApp(const Ref<Config>& config);

App& GetApp();

}  // namespace Pellmar::Service

namespace Pellmar::System {

// Ends the process at once: no destructor, no exit handler runs.
[[noreturn]] void QuickExit(int status);

}  // namespace Pellmar::System
