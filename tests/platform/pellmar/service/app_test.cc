// Set-up and run loop, each in a child process, which has signals and an environment of its own.
#include "platform/pellmar/service/app.h"

#include "platform/pellmar/service/service_manager.h"
#include "platform/sys/owned_fd.h"
#include "support/captured_log.h"
#include "support/deadline.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Pellmar::Service {
namespace {

using Test::CapturedLog;
using Test::Deadline;
using Test::TemporaryDirectory;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class EmptyConfig : public Config {
  public:
    void Initialize() override {}
    Ref<ConfigReader> GetReader() const override { return MakeRef<Reader>(); }
    Ref<ConfigReader> GetReaderOf(std::string_view, std::string_view,
                                  std::string_view) const override {
        return MakeRef<Reader>();
    }

  private:
    struct Reader : ConfigReader {
        bool GetInt(std::string_view, std::int32_t&) const override { return false; }
        bool GetBool(std::string_view, bool&) const override { return false; }
        bool GetString(std::string_view, std::string&) const override { return false; }
    };
};

// Runs `body` in a child process, which exits with its result.
class Child {
  public:
    explicit Child(const std::function<int()>& body) : pid(::fork()) {
        if (pid == 0) {
            (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);  // at worst it outlives a test that crashed
            System::QuickExit(body());
        }
        EXPECT_GT(pid, 0);
    }
    ~Child() {
        if (!ended) {
            Signal(SIGKILL);
            (void)ExitStatus();
        }
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void Signal(int signal) const { EXPECT_EQ(::kill(pid, signal), 0); }
    // -1 when a signal ended it.
    int ExitStatus() {
        int status = 0;
        EXPECT_EQ(::waitpid(pid, &status, 0), pid);
        ended = true;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

  private:
    const pid_t pid;
    bool ended = false;
};

// The service manager's end: a datagram socket, in a directory or of an abstract name.
class NotifySocket {
  public:
    explicit NotifySocket(bool isAbstract)
        : name(isAbstract ? "@sentrel-test-" + std::to_string(::getpid())
                          : directory.Path() + "notify"),
          receiver(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        name.copy(address.sun_path, sizeof address.sun_path - 1);
        if (isAbstract) {
            address.sun_path[0] = '\0';
        }
        const std::size_t length = offsetof(sockaddr_un, sun_path) + name.size();
        EXPECT_EQ(::bind(receiver.Get(), reinterpret_cast<const sockaddr*>(&address),
                         static_cast<socklen_t>(length)),
                  0);
    }

    const std::string& Name() const { return name; }
    std::string Receive() const {
        Deadline().Await(receiver.Get(), POLLIN, "a notification");
        std::array<char, 100> message{};
        const ssize_t count = ::recv(receiver.Get(), message.data(), message.size(), 0);
        return count < 0 ? "receive failed"
                         : std::string(message.data(), static_cast<std::size_t>(count));
    }

  private:
    TemporaryDirectory directory;
    std::string name;
    Sys::OwnedFd receiver;
};

// Sets or (null) unsets an environment variable, and puts its old value back.
class EnvironmentValue {
  public:
    EnvironmentValue(const char* variable, const char* value) : variable(variable) {
        const char* const old = std::getenv(variable);
        previous = old != nullptr ? std::optional<std::string>(old) : std::nullopt;
        Set(value);
    }
    ~EnvironmentValue() { Set(previous ? previous->c_str() : nullptr); }
    EnvironmentValue(const EnvironmentValue&) = delete;
    EnvironmentValue& operator=(const EnvironmentValue&) = delete;

  private:
    void Set(const char* value) {
        EXPECT_EQ(value != nullptr ? ::setenv(variable, value, 1) : ::unsetenv(variable), 0);
    }

    const char* const variable;
    std::optional<std::string> previous;
};

TEST(App, RunsUntilASignalComesAndFeedsTheWatchdog) {
    const NotifySocket manager(false);
    Child child([&] {
        const EnvironmentValue socket("NOTIFY_SOCKET", manager.Name().c_str());
        const EnvironmentValue period("WATCHDOG_USEC", "20000");
        InitApp(MakeRef<EmptyConfig>());
        GetApp().Run();
        return 17;
    });
    EXPECT_EQ(manager.Receive(), "READY=1");
    EXPECT_EQ(manager.Receive(), "WATCHDOG=1");
    EXPECT_EQ(manager.Receive(), "WATCHDOG=1");
    child.Signal(SIGTERM);
    std::string message = manager.Receive();
    while (message == "WATCHDOG=1") {
        message = manager.Receive();
    }
    EXPECT_EQ(message, "STOPPING=1");
    EXPECT_EQ(child.ExitStatus(), 17);
}

TEST(ServiceManager, FeedsTheWatchdogOfItsOwnProcessOnly) {
    const NotifySocket manager(false);
    const std::string own = std::to_string(::getpid());
    const std::string parent = std::to_string(::getppid());
    const struct {
        const char* name;
        const char* period;
        const char* process;
        const char* socket;
        long microseconds;
    } rows[] = {
        {"no watchdog", nullptr, own.c_str(), manager.Name().c_str(), 0},
        {"own", "30000000", own.c_str(), manager.Name().c_str(), 30000000},
        {"no process named", "30000000", nullptr, manager.Name().c_str(), 30000000},
        {"another process", "30000000", parent.c_str(), manager.Name().c_str(), 0},
        {"nobody to tell", "30000000", own.c_str(), nullptr, 0},
    };
    for (const auto& row : rows) {
        const EnvironmentValue period("WATCHDOG_USEC", row.period);
        const EnvironmentValue process("WATCHDOG_PID", row.process);
        const EnvironmentValue socket("NOTIFY_SOCKET", row.socket);
        const CapturedLog log;
        EXPECT_EQ(ServiceManager().GetWatchdogPeriod().count(), row.microseconds) << row.name;
        EXPECT_THAT(log.Lines(), IsEmpty());
    }
}

TEST(ServiceManager, SaysWhenItCannotTellTheServiceManager) {
    const TemporaryDirectory directory;
    const struct {
        std::string socket;
        const char* line;
    } rows[] = {
        {"relative/notify", "must be an absolute path or"},
        {"@", "must be an absolute path or"},
        {"/" + std::string(107, 'x'), "of at most 107 bytes"},
        {directory.Path() + "nobody",
         "Cannot send READY=1 to the service manager at NOTIFY_SOCKET"},
    };
    for (const auto& row : rows) {
        const EnvironmentValue socket("NOTIFY_SOCKET", row.socket.c_str());
        const CapturedLog log;
        ServiceManager().TellReady();
        EXPECT_THAT(log.Lines(), ElementsAre(HasSubstr(row.line))) << row.socket;
    }
}

TEST(ServiceManager, SaysWhenTheWatchdogsPeriodIsNone) {
    const NotifySocket manager(false);
    const EnvironmentValue socket("NOTIFY_SOCKET", manager.Name().c_str());
    const EnvironmentValue process("WATCHDOG_PID", nullptr);
    for (const char* value : {"soon", "0", "-1", "99999999999999999999"}) {
        const EnvironmentValue period("WATCHDOG_USEC", value);
        const CapturedLog log;
        EXPECT_EQ(ServiceManager().GetWatchdogPeriod().count(), 0);
        EXPECT_THAT(log.Lines(), ElementsAre(HasSubstr("WATCHDOG_USEC is"))) << value;
    }
}

}  // namespace
}  // namespace Pellmar::Service
