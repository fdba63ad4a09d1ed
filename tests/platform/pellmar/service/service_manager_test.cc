// The variables of the service manager, each set in a child process.
#include "platform/pellmar/service/service_manager.h"

#include "support/captured_log.h"
#include "support/descriptors.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <sys/socket.h>
#include <unistd.h>

namespace Pellmar::Service {
namespace {

using Test::CapturedLog;
using Test::TemporaryDirectory;
using testing::HasSubstr;

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

std::string Tell() {
    ServiceManager().SendReady();
    return "told";
}

TEST(ServiceManager, IsToldAtASocketInTheFileSystem) {
    const TemporaryDirectory directory;
    const std::string path = directory.Path() + "notify";
    const Sys::OwnedFd manager = ::Test::BindAt(path, SOCK_DGRAM);
    EXPECT_EQ(AskIn({{"NOTIFY_SOCKET", path}}, Tell), "told");
    std::array<char, 100> message{};
    (void)::recv(manager.Get(), message.data(), message.size(), MSG_DONTWAIT);
    EXPECT_STREQ(message.data(), "READY=1");
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
        const std::string answer = AskIn({{"NOTIFY_SOCKET", socket}}, Tell);
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
