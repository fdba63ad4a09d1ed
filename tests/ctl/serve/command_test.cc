// "serve" as curl sees it: who is let in, what is pushed, how it ends.
#include "platform/sys/owned_fd.h"
#include "support/descriptors.h"
#include "support/loopback.h"
#include "support/tool_host.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include <csignal>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include <sys/wait.h>

namespace Test {

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using Json = nlohmann::json;

class Serve : public ToolHost {
  protected:
    void SetUp() override {
        (void)OutputOf({"token", "init"});
        StartDaemon();
        Post("raid", 1);
        server.emplace("echo $$; exec timeout 90 '" SENTRELCTL_PATH "' --root '" + host.Root() +
                       "' serve 2>/dev/null");
        pid = std::stoi(server->NextLine());
        url = server->NextLine();
        base = url.substr(0, url.find('?'));
    }
    // SIGTERM, which timeout passes on.
    int Stop() {
        (void)::kill(pid, SIGTERM);
        return WEXITSTATUS(server->Close());
    }
    // Head and body of what curl gets with these arguments.
    std::string Curl(const std::string& arguments) const {
        return OutputOfShell("curl -s -i -m 30 " + arguments + " || true");
    }
    std::string Cookie() const {
        const std::string answer = Curl("'" + url + "'");
        const std::size_t start = answer.find("sentrel-");
        return "-b '" + answer.substr(start, answer.find(';', start) - start) + "' ";
    }

    std::optional<RunningShell> server;
    pid_t pid = 0;
    std::string url;
    std::string base;
};

TEST_F(Serve, AdmitsOnlyTheSecretFromThisHost) {
    EXPECT_THAT(Curl("'" + url + "'"),
                AllOf(HasSubstr("303 See Other"), HasSubstr("Location: /\r\n"),
                      HasSubstr("; HttpOnly; SameSite=Strict; Path=/\r\n"),
                      HasSubstr("Cache-Control: no-store"), HasSubstr("no-referrer")));
    const std::string cookie = Cookie();
    EXPECT_THAT(Curl(cookie + base), AllOf(HasSubstr("200 OK"), HasSubstr("data-name=\"raid\""),
                                           HasSubstr("Content-Security-Policy: default-src 'none'"),
                                           HasSubstr("connect-src 'self'")));
    const std::string port = base.substr(base.rfind(':') + 1);
    struct Row {
        std::string arguments;
        const char* status;
    };
    const Row rows[] = {
        {base, "403"},
        {"'" + url.substr(0, url.size() - 1) + "'", "403"},
        {"'" + url + "0'", "403"},
        {"-b sentrel-0=0 " + base, "403"},
        {cookie + "-H 'Host: example.com:" + port + "' " + base, "403"},
        {cookie + "-H 'Host: localhost:8080' " + base, "200"},
        {cookie + "-H 'Host: 127.0.0.1.example.com' " + base, "403"},
        {cookie + "-H 'Host:' " + base, "403"},
        {cookie + "-H 'Origin: http://example.com' " + base, "403"},
        {cookie + "-H 'Origin: null' " + base, "403"},
        {cookie + "-H 'Origin: http://127.0.0.1:1' " + base, "403"},
        {cookie + "-H 'Origin: " + base.substr(0, base.size() - 1) + "' " + base, "200"},
        {cookie + "-X POST " + base, "405"},
        {cookie + base + "x", "404"},
    };
    for (const Row& row : rows) {
        const std::string answer = Curl(row.arguments);
        EXPECT_EQ(answer.substr(0, 12), std::string("HTTP/1.1 ") + row.status) << row.arguments;
        EXPECT_EQ(answer.find("raid") != std::string::npos, answer.starts_with("HTTP/1.1 200"));
    }
    EXPECT_THAT(Curl("-H 'X: " + std::string(10000, 'x') + "' " + base), Not(HasSubstr("HTTP")));
    for (const char* address : {"0.0.0.0:1", "127.0.0.1", "127.0.0.1:x", "localhost:1", ":1"}) {
        EXPECT_EQ(Run({"serve", "--listen", address}).status, 2) << address;
    }
    EXPECT_THAT(Run({"serve", "--listen", "127.0.0.1:9984"}).error, HasSubstr("cannot listen on"));
    EXPECT_EQ(Stop(), 0);
}

TEST_F(Serve, IsReachedBesideIdleConnections) {
    const std::string cookie = Cookie();
    std::vector<Sys::OwnedFd> idle;
    for (int count = 0; count < 40; ++count) {  // more than it accepts
        idle.push_back(ConnectTo("127.0.0.1", std::stoi(base.substr(base.rfind(':') + 1))));
    }
    EXPECT_THAT(Curl(cookie + base), HasSubstr("200 OK"));
    EXPECT_EQ(Stop(), 0);
}

TEST_F(Serve, PushesChanges) {
    RunningShell events("curl -s -N -m 60 " + Cookie() + base + "events?since=1");
    const auto next = [&events] {
        std::string line;
        while (!(line = events.NextLine()).starts_with("data: ")) {
        }
        return Json::parse(line.substr(6));
    };
    Post("raid", 2);
    Json update = next();
    EXPECT_THAT(update["rows"]["raid"].get<std::string>(), HasSubstr("data-state=\"ERROR\""));
    EXPECT_THAT(update["sections"]["pills"].get<std::string>(), HasSubstr("1 ERROR"));
    (void)daemon->Stop();
    update = next();
    EXPECT_THAT(update["sections"]["notice"].get<std::string>(), HasSubstr("is not running"));
    EXPECT_EQ(Stop(), 0);
    EXPECT_EQ(events.NextLine(), "");  // its connection ended
}

TEST_F(Serve, ShowsALivePageInABrowser) {
    EXPECT_EQ(Stop(), 0);  // the script starts one of its own
    const std::string command = std::string("/usr/bin/python3 '") + SENTREL_BROWSER + "' '" +
                                SENTRELCTL_PATH + "' '" + host.Root() + "'";
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the process has one thread
    const int status = std::system(command.c_str());
    if (WEXITSTATUS(status) == 77) {
        GTEST_SKIP() << "no browser can run: there is no chromium, or it does not start";
    }
    EXPECT_EQ(status, 0);
}

}  // namespace

}  // namespace Test
