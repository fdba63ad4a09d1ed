// Set-up and run loop, each in a child process, which has signals and an environment of its own.
#include "platform/pellmar/service/app.h"

#include "platform/pellmar/service/service_manager.h"
#include "platform/sys/owned_fd.h"
#include "platform/tabulon/json_config.h"
#include "support/captured_log.h"
#include "support/deadline.h"
#include "support/descriptors.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>

#include <array>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Pellmar::Service {
namespace {

using Test::CapturedLog;
using Test::Deadline;
using Test::TemporaryDirectory;
using testing::HasSubstr;

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

// The service manager's end: a datagram socket in a directory.
class NotifySocket {
  public:
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
    std::string name = directory.Path() + "notify";
    Sys::OwnedFd receiver = Test::BindAt(name, SOCK_DGRAM);
};

TEST(App, RunsUntilASignalComesAndFeedsTheWatchdog) {
    const NotifySocket manager;
    const TemporaryDirectory root;  // a store without entries
    Child child([&] {
        (void)::setenv("NOTIFY_SOCKET", manager.Name().c_str(), 1);
        (void)::setenv("WATCHDOG_USEC", "20000", 1);
        (void)::setenv("SENTREL_ROOT", root.Path().c_str(), 1);
        InitApp(Tabulon::CreateTabulonConfigWithFallbackToDefault(
            {{"", "sentrel", "health", "oru", ""}}));
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

using Environment = std::vector<std::pair<const char*, std::string>>;

// What `question` answers and what is logged in a process with no more of these variables.
std::string AskIn(const Environment& environment, const std::function<std::string()>& question) {
    return Test::AnswerOfChild([&] {
        for (const char* name : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID"}) {
            (void)::unsetenv(name);
        }
        for (const auto& [name, value] : environment) {
            (void)::setenv(name, value.c_str(), 1);
        }
        const CapturedLog log;
        std::string answer = question();
        for (const std::string& line : log.Lines()) {
            answer += "\n" + line;
        }
        return answer;
    });
}

TEST(ServiceManager, FeedsTheWatchdogOfItsOwnProcessOnly) {
    const struct {
        const char* name;
        Environment environment;
        bool namesItself;
        const char* microseconds;
    } rows[] = {
        {"no watchdog", {{"NOTIFY_SOCKET", "/x"}}, true, "0"},
        {"own", {{"NOTIFY_SOCKET", "/x"}, {"WATCHDOG_USEC", "30000000"}}, true, "30000000"},
        {"no process named",
         {{"NOTIFY_SOCKET", "/x"}, {"WATCHDOG_USEC", "30000000"}},
         false,
         "30000000"},
        {"another process",
         {{"NOTIFY_SOCKET", "/x"}, {"WATCHDOG_USEC", "30000000"}, {"WATCHDOG_PID", "1"}},
         false,
         "0"},
        {"nobody to tell", {{"WATCHDOG_USEC", "30000000"}}, true, "0"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(AskIn(row.environment,
                        [&row] {
                            if (row.namesItself) {
                                (void)::setenv("WATCHDOG_PID", std::to_string(::getpid()).c_str(),
                                               1);
                            }
                            return std::to_string(ServiceManager().GetWatchdogPeriod().count());
                        }),
                  row.microseconds)
            << row.name;
    }
}

TEST(ServiceManager, LogsInvalidVariables) {
    const TemporaryDirectory directory;
    const std::pair<const char*, std::string> notified[] = {
        {"must be an absolute path or", "relative/notify"},
        {"must be an absolute path or", "@"},
        {"of at most 107 bytes", "/" + std::string(107, 'x')},
        {"Cannot send READY=1 to the service manager at NOTIFY_SOCKET",
         directory.Path() + "nobody"},
    };
    for (const auto& [line, socket] : notified) {
        const std::string answer = AskIn({{"NOTIFY_SOCKET", socket}}, [] {
            ServiceManager().TellReady();
            return std::string("told");
        });
        EXPECT_THAT(answer, testing::AllOf(testing::StartsWith("told\n"), HasSubstr(line)));
    }
    for (const char* value : {"soon", "0", "-1", "99999999999999999999"}) {
        const std::string answer = AskIn({{"NOTIFY_SOCKET", "/x"}, {"WATCHDOG_USEC", value}}, [] {
            return std::to_string(ServiceManager().GetWatchdogPeriod().count());
        });
        EXPECT_THAT(answer,
                    testing::AllOf(testing::StartsWith("0\n"), HasSubstr("WATCHDOG_USEC is")))
            << value;
    }
}

}  // namespace
}  // namespace Pellmar::Service
