// Sets up and runs the process: signals, log level, heap. service_manager notifies the service
// manager.
#include "platform/pellmar/service/app.h"

#include "platform/pellmar/exceptions.h"
#include "platform/pellmar/service/service_manager.h"
#include "platform/pellmar/work/clock.h"
#include "platform/pellmar/work/thread_pool.h"

#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string_view>
#include <system_error>

#include <malloc.h>
#include <unistd.h>

namespace Pellmar::Service {

namespace {

constexpr const char* kLogLevelVariable = "SENTREL_LOG_LEVEL";

// The signals that the run loop waits for; all but SIGHUP end it.
sigset_t AwaitedSignals() {
    sigset_t signals;
    (void)::sigemptyset(&signals);  // these cannot fail for signals that exist
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        (void)::sigaddset(&signals, signal);
    }
    return signals;
}

void PrepareSignals() {
    const sigset_t awaited = AwaitedSignals();
    const int error = ::pthread_sigmask(SIG_BLOCK, &awaited, nullptr);
    if (error != 0) {
        throw IOException("Cannot block SIGTERM, SIGINT and SIGHUP", error);
    }
    struct sigaction ignore{};
    ignore.sa_handler = SIG_IGN;
    if (::sigaction(SIGPIPE, &ignore, nullptr) != 0) {
        throw IOException("Cannot ignore SIGPIPE", errno);
    }
}

int ConfiguredLogLevel(const Config& config) {
    std::int32_t level = kDefaultLogLevel;
    (void)config.GetReaderOf("pellmar", "health", "oru")->GetInt("log/level", level);
    return level;
}

void SetLogLevel(const Config& config) {
    const int configured = ConfiguredLogLevel(config);
    Logger::sDefaultLogger->SetLevel(configured);
    const char* const value = std::getenv(kLogLevelVariable);
    if (value == nullptr || *value == '\0') {
        return;
    }
    const std::string_view text = value;
    int level = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), level);
    if (error != std::errc() || end != text.data() + text.size()) {
        LogInternal(Logger::sDefaultLogger, 3,
                    "%1 is \"%2\", not a number: using the configured log level %3; set it to a "
                    "number from 3 to 7",
                    kLogLevelVariable, text, configured);
        return;
    }
    Logger::sDefaultLogger->SetLevel(level);
}

// Converts a positive duration to the system's timespec.
timespec SpanOf(std::chrono::microseconds duration) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration);
    timespec span{};
    span.tv_sec = static_cast<time_t>(seconds.count());
    span.tv_nsec = std::chrono::nanoseconds(duration - seconds).count();
    return span;
}

// Blocks until SIGTERM or SIGINT arrives, feeding the watchdog twice in its period.
void AwaitEndingSignal(const ServiceManager& serviceManager) {
    const sigset_t awaited = AwaitedSignals();
    const std::chrono::microseconds period = serviceManager.GetWatchdogPeriod();
    const timespec interval = SpanOf(period / 2);
    const bool isWatched = period.count() > 0;
    for (;;) {
        const int signal = ::sigtimedwait(&awaited, nullptr, isWatched ? &interval : nullptr);
        if (signal < 0 && errno != EAGAIN && errno != EINTR) {
            throw IOException("Cannot wait for SIGTERM, SIGINT and SIGHUP", errno);
        }
        if (signal == SIGHUP) {
            LogInternal(Logger::sDefaultLogger, 5,
                        "SIGHUP is ignored: settings are read at the start; restart the daemon to "
                        "apply a change");
        } else if (signal > 0) {
            return;
        }
        if (isWatched) {
            serviceManager.FeedWatchdog();
        }
    }
}

}  // namespace

System::Scheduler& App::GetScheduler() {
    // Never destroyed: its thread and its pool's threads run until the process exits.
    static auto& scheduler =
        *new System::Scheduler(System::GetThreadPool(), System::MonotonicClock());
    return scheduler;
}

void App::Run() {
    const auto manager = std::make_shared<const ServiceManager>();
    manager->SendReady();
    {
        const Sys::MutexLock guard(lock);
        serviceManager = manager;
    }
    AwaitEndingSignal(*manager);
    {
        const Sys::MutexLock guard(lock);
        serviceManager.reset();
    }
    manager->SendStopping();
}

void App::SendStatus(const std::string& line) {
    std::shared_ptr<const ServiceManager> manager;
    {
        const Sys::MutexLock guard(lock);
        manager = serviceManager;
    }
    if (manager) {
        manager->SendStatus(line);
    }
}

void SetAppInfo(const AppInfo& info) { GetApp().info = info; }

void InitApp(const Ref<Config>& config) {
    // Each heap of the C library keeps the memory that its threads once used. Hundreds of threads
    // may come and go; with a heap for most of them the process would stay as large as at its
    // busiest moment.
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread runs yet
    (void)::mallopt(M_ARENA_MAX, 2);  // a refusal only costs memory
    PrepareSignals();
    SetLogLevel(*config);
    GetApp().config = config;
}

App& GetApp() {
    static auto& app = *new App;  // never destroyed: threads may use it until the process exits
    return app;
}

}  // namespace Pellmar::Service

namespace Pellmar::System {

void QuickExit(int status) { ::_exit(status); }

}  // namespace Pellmar::System
