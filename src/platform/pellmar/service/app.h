// The application: identity, set-up, run loop, exit. Notifies the service manager (readiness,
// watchdog).
#pragma once

#include "platform/pellmar/config.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/pellmar/work/scheduler.h"
#include "platform/sys/mutex.h"

#include <cstdint>
#include <memory>
#include <string>

namespace Pellmar::Service {

class ServiceManager;

struct AppInfo {
    std::string name;
    std::string version;
    std::uint32_t buildNumber = 0;
    std::uint32_t reserved = 0;
};

// The only application of the process. GetApp returns it, after InitApp.
class App {
  public:
    const AppInfo& GetInfo() const { return info; }
    // Logger::sDefaultLogger.
    const Ref<Logger>& GetLogger() const { return Logger::sDefaultLogger; }
    // The configuration given to InitApp.
    const Ref<Config>& GetConfig() const { return config; }
    // Uses the process's pool and the monotonic clock; created on first use, never destroyed.
    System::Scheduler& GetScheduler();
    // Blocks until SIGTERM or SIGINT arrives, or has arrived since InitApp. Logs and ignores
    // SIGHUP. Sends READY=1 on entry and STOPPING=1 at the end to the service manager, and feeds
    // its watchdog. Main thread. Throws IOException when waiting for signals fails.
    void Run() EXCLUDES(lock);
    // Sends the service manager a line on the state of this process, for people. Does nothing
    // outside Run. Any thread.
    void SendStatus(const std::string& line) EXCLUDES(lock);

  private:
    friend void InitApp(const Ref<Config>& config);
    friend void SetAppInfo(const AppInfo& info);
    friend App& GetApp();

    App() = default;

    AppInfo info;
    Ref<Config> config;
    Sys::Mutex lock;
    std::shared_ptr<const ServiceManager> serviceManager GUARDED_BY(lock);  // while Run runs
};

// Sets the identity. Call it before InitApp.
void SetAppInfo(const AppInfo& info);

// Prepares the framework: blocks SIGTERM, SIGINT and SIGHUP for Run, ignores SIGPIPE, sets the log
// level (key "log/level" of the framework's own entry, overridden by SENTREL_LOG_LEVEL). Starts no
// thread. Main thread, once. Throws a std::exception.
void InitApp(const Ref<Config>& config);

App& GetApp();

}  // namespace Pellmar::Service

namespace Pellmar::System {

// Exits at once, without destructors and exit handlers.
[[noreturn]] void QuickExit(int status);

}  // namespace Pellmar::System
