// "list", "get" and "call" against the real daemon: what they show, and what each failure tells.
#include "ctl/post/intake_answer.h"
#include "platform/token/token_signer.h"
#include "support/http_client.h"
#include "support/stored_report.h"
#include "support/tool_host.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace Test {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using Json = nlohmann::json;

constexpr char kList[] = "com.korvex.oru.observability.reports.list";
// The age of a report of 2024 or before.
const std::string kOld = "[0-9]+ d( [0-9]+ h)?";

class ReportCommands : public ToolHost {
  protected:
    // The daemon with two reports, and a key that it trusts.
    void SetUp() override {
        (void)OutputOf({"token", "init"});
        StartDaemon();
        for (const ReportText& report :
             {ReportText{.name = "disk.sda", .status = 2, .unstructured = R"({"reason":"full"})"},
              ReportText{.name = "cpu"}}) {
            ASSERT_EQ(HttpClient().Post("/" + std::string(report.name), report.Document()), 200);
        }
    }
};

TEST_F(ReportCommands, ShowReports) {
    EXPECT_THAT(OutputOf({"list"}), MatchesRegex("NAME      STATE +AGE  REASON\n"
                                                 "disk.sda  ERROR  " +
                                                 kOld +
                                                 "  full\n"
                                                 "cpu       OK     " +
                                                 kOld + "  fine\n\n2 reports: 1 ERROR, 1 OK\n"));
    EXPECT_THAT(OutputOf({"list", "--sort", "name", "--columns", "state,name"}),
                HasSubstr("STATE  NAME\nOK     cpu\nERROR  disk.sda\n"));
    EXPECT_THAT(OutputOf({"list", "--sort", "name", "--reverse", "--columns", "name"}),
                HasSubstr("NAME\ndisk.sda\ncpu\n"));
    EXPECT_THAT(Run({"list", "disk.sdb"}).error, HasSubstr("; did you mean \"disk.sda\"?"));
    const ToolResult some = Run({"list", "--full", "DISK.SDA", "none"});
    EXPECT_EQ(some.status, 1);
    EXPECT_THAT(some.error, HasSubstr("no report named \"none\"; "));
    EXPECT_THAT(some.output, MatchesRegex("NAME      STATE +AGE  REASON\ndisk.sda  ERROR  " + kOld +
                                          "  full\n\n1 report: 1 ERROR\n"));
    const Json reports = Json::parse(OutputOf({"list", "cpu", "--json"}));
    EXPECT_EQ(reports["reports"][0]["unstructured"], R"({"reason":"fine"})");
    EXPECT_EQ(Json::parse(OutputOf({"get", "disk.sda", "--json"}))["status"], "ERROR");
    EXPECT_THAT(OutputOf({"get", "disk.sda"}),
                MatchesRegex(". disk.sda  ERROR\n  full\n  reported " + kOld +
                             " ago .2024-03-05T14:07:09.000Z.\n"));
    const std::string cpuOnly = R"({"filter":{"names":["cpu"]}})";
    EXPECT_EQ(Json::parse(OutputOf({"call", kList, cpuOnly}))["reports"][0]["name"], "cpu");
}

TEST_F(ReportCommands, ShowStatesThatNoReportContains) {
    for (const char* plugin : {"disk", "late", "off"}) {
        WriteFile(host.Root() + "/usr/lib/korvex/sentrel/plugins/bin/" + plugin, "");
        (void)host.WriteStoreEntry(plugin, plugin == std::string("off")
                                               ? R"({"enabled":false})"
                                               : R"({"frequency":"slow"})");
    }
    ASSERT_EQ(HttpClient().Post("/bad", ReportText{.name = "other"}.Document()), 200);
    const std::string rows =
        "NAME      STATE +AGE  REASON\nbad       INVALID +-  it is not a valid .*\n"
        "disk.sda  STALE    " +
        kOld +
        " +last report .* ago, expected every .*; it said ERROR: full\n"
        "late      NEVER +-  this plugin has not reported yet\n"
        "cpu       OK       " +
        kOld + "  fine\n\n4 reports: 1 INVALID, 1 STALE, 1 NEVER, 1 OK\n";
    EXPECT_THAT(OutputOf({"list"}), MatchesRegex(rows));
    EXPECT_THAT(OutputOf({"list", "--offline"}), MatchesRegex(rows));
    EXPECT_THAT(OutputOf({"list", "--state", "never", "--state", "INVALID", "--full"}),
                MatchesRegex("NAME  STATE    AGE  REASON\n"
                             "bad   INVALID    -  it is not a valid report; see .*\n"
                             "late  NEVER      -  this plugin has not reported yet\n\n.*\n"));
    EXPECT_EQ(OutputOf({"list", "--state", "none"}), "No report matches.\n");
    const ToolResult wrong = Run({"list", "--state", "gone"});
    EXPECT_EQ(wrong.status, 2);
    EXPECT_THAT(wrong.error, HasSubstr("unknown state \"gone\"; choose OK, WARNING, ERROR"));
    ExpectFailure(Run({"get", "late"}), "the plugin \"late\" has not reported yet; wait for");
    ExpectFailure(Run({"get", "disk"}), "no report named \"disk\"");
    ExpectFailure(Run({"get", "bad"}),
                  "cannot read the report \"bad\"; \"sentrelctl history bad\" and the daemon's");
}

TEST_F(ReportCommands, ShowTheStoredReportsOfAName) {
    for (const char* status : {"first", "second", "third", "fourth"}) {
        const std::string reason = R"({"reason":")" + std::string(status) + "\"}";
        ASSERT_EQ(
            HttpClient().Post("/disk.sda",
                              ReportText{.name = "disk.sda", .unstructured = reason}.Document()),
            200);
    }
    ASSERT_EQ(HttpClient().Post("/disk.sda-1", ReportText{.name = "disk.sda-1"}.Document()), 200);
    WriteFile(ReportDirectory() + "/disk.sda-2.json", "{}");
    const std::filesystem::path second = ReportDirectory() + "/disk.sda-0.json";
    SetModified(second, 1700000000);
    EXPECT_THAT(OutputOf({"history", "DISK.sda"}),
                MatchesRegex("FILE             +STATE +AGE  REASON\n"
                             "disk.sda-2.json +INVALID +[0-9]+ s  a member .*\n"
                             "disk.sda-1.json \\* +OK +" +
                             kOld +
                             "  fourth\n"
                             "disk.sda-0.json +OK +" +
                             kOld + "  third\n"));
    const Json history = Json::parse(OutputOf({"history", "disk.sda", "--json"}))["reports"];
    EXPECT_EQ(history[1]["isNewest"], true);
    EXPECT_EQ(history[2]["stored"], "2023-11-14T22:13:20.000Z");
    ExpectFailure(Run({"history", "disk"}), "no report named \"disk\" in ");
}

TEST_F(ReportCommands, NeedNeitherTokenNorSettingsIfTheDirectoryIsReadable) {
    const std::string noToken = "no token for the API; reading ";
    std::filesystem::remove(host.Root() + "/var/lib/korvex/oru/token/signing-key.json");
    const ToolResult direct = Run({"list"});
    EXPECT_EQ(direct.status, 0);
    EXPECT_THAT(direct.output, HasSubstr("disk.sda  ERROR"));
    EXPECT_EQ(direct.error, "sentrelctl: " + noToken + ReportDirectory() + "/\n");

    (void)host.WriteStoreEntry("sentrel", "{");
    const ToolResult listed = Run({"list", "--offline"});
    EXPECT_EQ(listed.status, 0);
    EXPECT_THAT(listed.error, HasSubstr("sentrelctl: warning: cannot read the daemon's settings"));
    const ToolResult posted = RunTool({"post", "new", "-"}, {"SENTREL_ROOT=" + host.Root()},
                                      User::Own, ReportText{.name = "new"}.Document());
    EXPECT_EQ(posted.status, 0) << posted.error;
    EXPECT_THAT(posted.error, HasSubstr("; posting to port 9996\n"));
}

TEST_F(ReportCommands, DistinguishAnUnreadableDirectoryFromAnEmptyOne) {
    std::filesystem::rename(ReportDirectory(), ReportDirectory() + "-away");
    ExpectFailure(Run({"list", "nosuch"}), "the API lists no reports; cannot read ");
    std::filesystem::create_directory(ReportDirectory());
    EXPECT_EQ(OutputOf({"list"}), "No reports.\n");
    const std::string other = host.Root() + "/other";
    std::filesystem::create_directory(other);
    (void)StoreReport(other, "cpu", ReportText{.name = "cpu"}.Document());
    ExpectFailure(Run({"list", "--reports", "/other"}),
                  "the API lists no reports, but 1 report is stored in ");
}

TEST_F(ReportCommands, PostValidReports) {
    const std::string document = ReportText{.name = "new"}.Document();
    const ToolResult posted =
        RunTool({"post", "new", "-"}, {"SENTREL_ROOT=" + host.Root()}, User::Own, document);
    EXPECT_EQ(posted.error, "");
    EXPECT_EQ(posted.output, "Posted new, " + std::to_string(document.size()) + " bytes.\n");
    EXPECT_EQ(Json::parse(OutputOf({"get", "new", "--json"}))["state"], "OK");
    const std::string file = host.Base() + "document";
    WriteFile(file, R"({"structured":{"name":"old","time":"2024-03-05T14:07:09"}})");
    ExpectFailure(Run({"post", "new", file}),
                  "invalid report \"new\": unstructured is missing: add any JSON value; "
                  "structured.name is \"old\", not \"new\"; "
                  "structured.time \"2024-03-05T14:07:09\" has no zone: add Z or such as +01:00; "
                  "fix it and post again");
    ExpectFailure(Run({"post", "new", "/none"}), "cannot read the report file /none: ");
    WriteFile(file, document);
    for (const char* next : {"/.new-1.json", "/.new-2.json"}) {
        std::filesystem::create_directory(ReportDirectory() + next);
    }
    ExpectFailure(Run({"post", "new", file}), "report \"new\" was refused with 500: ");
    ASSERT_EQ(daemon->Stop(), 0);
    ExpectFailure(Run({"post", "new", file}), "cannot reach the intake on port 9996: ");
}

TEST(IntakeAnswers, AreInTheManual) {
    std::ifstream file(SENTREL_MANUALS "/sentrel-plugin.7");
    const std::string manual(std::istreambuf_iterator<char>(file), {});
    for (int status = 201; status < 600; ++status) {
        EXPECT_EQ(Ctl::ExplainAnswer(status).status == status,
                  manual.find(".It " + std::to_string(status) + " Ta ") != std::string::npos)
            << status;
    }
}

TEST_F(ReportCommands, ReportFailuresWithAdvice) {
    const Token::SigningKey key = Token::SigningKey::Generate();
    key.AddToTrustSet(host.Root() + "/etc/korvex/oru/token/jwks.json");
    const std::string expired = host.Base() + "expired";
    WriteFile(expired, key.Sign({.issuer = "sentrel",
                                 .audience = "sentrel",
                                 .subject = "eve",
                                 .entitlements = {"observability.reports.read"},
                                 .issued = std::chrono::sys_days(std::chrono::days(19000)),
                                 .lifetime = std::chrono::hours(1)}));
    const std::string nonsense = host.Base() + "nonsense";
    WriteFile(nonsense, "nonsense\n");
    const std::string empty = host.Base() + "empty";
    WriteFile(empty, " \n");
    ASSERT_EQ(HttpClient().Post("/late", ReportText{.name = "late", .time = "soon"}.Document()),
              200);
    const std::string refused = "the API refuses the token; \"sentrelctl token inspect\" says why";
    struct Row {
        std::vector<std::string> arguments;
        std::string error;
    };
    const Row rows[] = {
        {{"get", "memory"}, "no report named \"memory\"; see \"sentrelctl list\""},
        {{"call", "com.korvex.oru.observability.reports.get", R"({"name":"late"})"},
         "the API failed with com.korvex.quon.std.errors.error and gave no reason; see the "
         "daemon's"},
        {{"call", "com.korvex.oru.observability.reports.get", R"({"name":"memory"})"},
         "the API has nothing of that name (com.korvex.quon.std.errors.not_found); \"sentrelctl"},
        {{"call", kList, "[]"}, "the parameters are not a JSON object; write them as"},
        {{"call", kList, R"({"x":1})"}, "Unknown member \"x\". Remove it"},
        {{"call", "a.b"}, "\"sentrelctl call com.korvex.quon.std.introspection.service.list\""},
        {{"list", "--token-file", expired}, refused},
        {{"list", "--token-file", nonsense}, refused},
        {{"list", "--token-file", empty}, "holds no token; \"sentrelctl token issue"},
        {{"list", "--token-file", host.Root()}, "Is a directory; name a file that this user"},
        {{"list", "--token-file", "/none"}, "directory; name a file that this user can read"},
        {{"list", "--token-file", TokenFile("bob", {})},
         "privilege \"observability.reports.read\", which the token does not grant"},
        {{"list", "--root", host.Base()},
         "whose host root is " + host.Root() + "; use --root " + host.Root()},
        {{"list", "--api", "http://127.0.0.1:1"},
         "Connection refused; start sentrel (\"systemctl start sentrel\"), or"},
        {{"list", "--api", "http://127.0.0.1:9996"}, "answered, but is not the sentrel API; name"},
        {{"list", "--api", "http://192.0.2.1:9984"},
         "which is not on this host's loopback; give one with --token-file"},
        {{"list", "memory"}, "no report named \"memory\"; see \"sentrelctl list\""},
        {{"list", "--api", "127.0.0.1:9984"},
         "invalid address \"127.0.0.1:9984\" for --api; write it as http://"},
        {{"list", "--api", "http://[::1"}, "for --api; write it as http://"},
        {{"list", "--api", "http://127.0.0.1:99999"}, "for --api; write it as"},
    };
    for (const Row& row : rows) {
        ExpectFailure(Run(row.arguments), row.error);
    }
    EXPECT_EQ(Run({"list", "--token-file",
                   TokenFile("ann", {"--entitlement", "observability.reports.read"})})
                  .status,
              0);
    ASSERT_EQ(daemon->Stop(), 0);
    ExpectFailure(Run({"list"}),
                  "cannot reach the API at http://127.0.0.1:9984: Connection "
                  "refused; start sentrel");
    ExpectFailure(Run({"call", "a.b"}), "sentrel\"), or name another address with --api");
}

}  // namespace
}  // namespace Test
