// The reports API of the whole daemon: what a client with a token reads, who is refused and what
// the host's logs tell of it.
#include "platform/token/token_signer.h"
#include "support/descriptors.h"
#include "support/http_client.h"
#include "support/scenario.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace {

using nlohmann::json;
using ::Test::HttpClient;
using ::Test::ReadFile;
using ::Test::ReportDocument;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

constexpr int kApiPort = 9984;
constexpr char kReadPrivilege[] = "observability.reports.read";
constexpr char kListMethod[] = "com.korvex.oru.observability.reports.list";
constexpr char kGetMethod[] = "com.korvex.oru.observability.reports.get";
constexpr char kErrors[] = "com.korvex.quon.std.errors.";
constexpr char kIntrospection[] = "com.korvex.quon.std.introspection.service.list";

// A caller on the daemon's host: tokens signed with a key that the host trusts, and calls whose
// answers are JSON.
class ApiCaller {
  public:
    // Before the daemon's first call.
    explicit ApiCaller(const ::Test::HostDirectory& host) {
        key.AddToTrustSet(host.Root() + "/etc/korvex/oru/token/jwks.json");
    }

    std::string TokenFor(const std::string& subject,
                         const std::vector<std::string>& entitlements) const {
        const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
        return key.Sign({.issuer = "sentrel",
                         .audience = "sentrel",
                         .subject = subject,
                         .entitlements = entitlements,
                         .issued = now,
                         .lifetime = std::chrono::minutes(10)});
    }

    // On a connection of its own; an empty token sends none.
    static ::Test::HttpResponse Post(const std::string& document, const std::string& token,
                                     const std::string& address = "127.0.0.1") {
        ::Test::RawConnection connection(kApiPort, address);
        connection.Send(::Test::PostRequest(
            "/", document, token.empty() ? "" : "Authorization: Bearer " + token + "\r\n"));
        std::optional<::Test::HttpResponse> response = connection.ReadResponse();
        if (!response) {
            throw std::runtime_error("the API closed the connection without an answer");
        }
        return *response;
    }

    // `parameters` is JSON text.
    static json Call(const std::string& method, const std::string& parameters,
                     const std::string& token) {
        const std::string document =
            R"({"jsonrpc":"2.0","id":7,"method":")" + method + R"(","params":)" + parameters + "}";
        return nlohmann::json::parse(Post(document, token).body);
    }

  private:
    const Token::SigningKey key = Token::SigningKey::Generate();
};

class Api : public ::Test::Scenario {
  protected:
    std::vector<json> AuditRecords() const {
        std::vector<json> records;
        const std::string log = ReadFile(host.Root() + "/var/log/korvex/audit.jsonl");
        for (const std::string& line : ::Test::LinesOf(log)) {
            records.push_back(json::parse(line));
        }
        return records;
    }

    const ApiCaller api{host};
    const std::string token = api.TokenFor("alice", {kReadPrivilege});
};

TEST_F(Api, ListsAndGetsWhatWasPosted) {
    Start();
    EXPECT_THAT(api.Call(kListMethod, "{}", token)["result"]["reports"], SizeIs(0));
    HttpClient plugin;
    for (const char* name : {"cpu", "disk.sda", "cpu"}) {
        ASSERT_EQ(plugin.Post(std::string("/") + name, ReportDocument(name, 3)), 200);
    }
    const json brief = api.Call(kListMethod, "{}", token);
    ASSERT_THAT(brief["result"]["reports"], SizeIs(2)) << brief;
    for (const json& report : brief["result"]["reports"]) {
        EXPECT_EQ(report.size(), 2U) << report;
        EXPECT_THAT(report["time"].get<std::string>(), testing::EndsWith(".000Z"));
        EXPECT_NE(report["time"], "2024-05-06T07:08:09.000Z") << "not of the file";
    }
    const json full =
        api.Call(kListMethod, R"({"detail":"FULL","filter":{"names":["CPU","none"]}})", token);
    const json info = {{"time", "2024-05-06T07:08:09.000Z"},
                       {"status", "OK"},
                       {"unstructured", R"({"padding":"xxx"})"}};
    json summary = info;
    summary["name"] = "cpu";
    EXPECT_EQ(full, (json{{"jsonrpc", "2.0"}, {"id", 7}, {"result", {{"reports", {summary}}}}}));
    EXPECT_EQ(api.Call(kListMethod, R"({"filter":null,"detail":"full"})", token), brief);
    EXPECT_THAT(
        api.Call(kListMethod, R"({"filter":{"names":["CPU"]}})", token)["result"]["reports"],
        SizeIs(1));
    EXPECT_THAT(api.Call(kListMethod, R"({"filter":{"names":[]},"detail":"FULL"})",
                         token)["result"]["reports"],
                SizeIs(2));
    EXPECT_EQ(api.Call(kGetMethod, R"({"name":"disk.sda"})", token)["result"], info);
    EXPECT_EQ(api.Call(kGetMethod, R"({"name":"memory"})", token)["error"]["data"]["errorType"],
              "NOT_FOUND");
}

// Both are answered to a client of the distribution, which was not written for this API.
TEST_F(Api, AnswersAStockClient) {
    Start();
    ASSERT_EQ(HttpClient().Post("/cpu", ReportDocument("cpu")), 200);
    const std::string program = std::string("/usr/bin/python3 '") + SENTREL_STOCK_CLIENT + "'";
    const json answers =
        json::parse(::Test::OutputOfShell(program + " http://127.0.0.1:9984/ " + token + " cpu"));
    EXPECT_EQ(answers["list"]["reports"][0]["name"], "cpu");
    EXPECT_EQ(answers["get"]["status"], "OK");
    EXPECT_EQ(answers["error"][0], -32000);
}

// Each call leaves one audit record, and no token is written anywhere.
TEST_F(Api, RefusesUnauthorizedCallersAndAuditsEveryCall) {
    Start();
    const std::string plain = api.TokenFor("bob", {"observability.reports.write"});
    std::string tampered = token;
    tampered[tampered.rfind('.') + 1] ^= 1;
    struct Row {
        const char* method;
        const char* parameters;
        std::string token;
        std::string error;  // empty: none
        const char* subject;
        const char* object;
    };
    const Row rows[] = {
        {kListMethod, "{}", "", "unauthenticated", "", "com.korvex.oru.observability.reports:list"},
        {kGetMethod, R"({"name":"cpu"})", tampered, "unauthenticated", "",
         "com.korvex.oru.observability.reports:get"},
        {kIntrospection, "{}", "nonsense", "unauthenticated", "",
         "com.korvex.quon.std.introspection.service:list"},
        {kListMethod, R"({"nonsense":1})", plain, "unauthorized", "bob",
         "com.korvex.oru.observability.reports:list"},
        {kListMethod, R"({"nonsense":1})", token, "invalid_argument", "alice",
         "com.korvex.oru.observability.reports:list"},
        {"com.korvex.nothing.list", "{}", "", "unauthenticated", "", "com.korvex.nothing:list"},
        {"com.korvex.nothing.list", "{}", plain, "operation_not_found", "bob",
         "com.korvex.nothing:list"},
        {kIntrospection, "{}", "", "", "", "com.korvex.quon.std.introspection.service:list"},
        {kListMethod, "{}", token, "", "alice", "com.korvex.oru.observability.reports:list"},
    };
    std::size_t calls = 0;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.method + (" as \"" + std::string(row.subject) + "\" " + row.error));
        const json answer = api.Call(row.method, row.parameters, row.token);
        EXPECT_EQ(answer.contains("error"), !row.error.empty()) << answer;
        if (!row.error.empty()) {
            EXPECT_EQ(answer["error"]["data"]["error"], kErrors + row.error);
        }
        const std::vector<json> records = AuditRecords();
        ASSERT_EQ(records.size(), ++calls);
        EXPECT_EQ(records.back()["eventID"], "api.call");
        EXPECT_EQ(records.back()["subject"], row.subject);
        EXPECT_EQ(records.back()["object"], row.object);
        EXPECT_EQ(records.back()["success"], row.error.empty());
    }
    EXPECT_THAT(LogFrom(0, "3 OruObservabilityJWTHandler"), SizeIs(2));
    for (const std::string& secret : {token, plain, tampered}) {
        const std::string signature = secret.substr(secret.rfind('.') + 2);
        EXPECT_EQ(daemon->CountLog(signature), 0U);
    }
}

TEST_F(Api, DescribesEveryServiceAndItself) {
    Start();
    const struct {
        const char* operation;
        const char* parameters;
        const char* answer;  // the beginning of the result, or of the error's message
    } rows[] = {
        {"service.list", "{}",
         R"(["com.korvex.oru.observability.reports","com.korvex.quon.metadata.)"},
        {"service.get", R"({"id":"com"})", "\"Unknown identifier \\\"com\\\"."},
        {"operation.list", R"({"service":"com.korvex.quon.std.introspection.operation"})",
         R"(["get","list"])"},
        {"operation.get", R"({"service":"com.korvex.oru.observability.reports","operation":"get"})",
         R"({"documentation":")"},
        {"operation.get", R"({"service":"com.korvex.oru.observability.reports","operation":"put"})",
         "\"Unknown identifier "},
        {"operation.get", R"({"service":"com.example"})",
         "\"The member \\\"operation\\\" is missing."},
        {"provider.get", "{}", R"({"fingerprint":")"},
        {"provider.get", R"({"id":"x"})", "\"Unknown member "},
    };
    for (const auto& row : rows) {
        const json answer =
            api.Call(std::string("com.korvex.quon.std.introspection.") + row.operation,
                     row.parameters, token);
        EXPECT_THAT(
            (answer.contains("result") ? answer["result"] : answer["error"]["message"]).dump(),
            testing::StartsWith(row.answer))
            << row.operation << row.parameters;
    }
    const json models = api.Call("com.korvex.quon.metadata.metamodel.resource.model.list",
                                 R"({"resource":"com.korvex.oru.observability.reports"})", token);
    EXPECT_THAT(models["result"], SizeIs(3)) << models;
    const json command =
        api.Call("com.korvex.quon.metadata.cli.command.get",
                 R"({"id":"com.korvex.oru.observability.reports.list"})", token)["result"];
    EXPECT_EQ(command["options"][0]["parameter"], "filter.names") << command;
    EXPECT_EQ(command["options"][0]["type"], "set<string>") << command;
}

TEST_F(Api, LogsACallThatCannotBeAudited) {
    std::filesystem::create_directories(host.Root() + "/var/log/korvex/audit.jsonl");
    Start();
    EXPECT_TRUE(api.Call(kListMethod, "{}", token).contains("result"));
    EXPECT_THAT(LogFrom(0, "3 KvxAudit"), ElementsAre(HasSubstr("reports:list")));
}

TEST_F(Api, TrustsAKeyThatIsAddedWhileItRuns) {
    std::filesystem::remove_all(host.Root() + "/etc/korvex/oru");
    Start();
    EXPECT_EQ(api.Call(kListMethod, "{}", token)["error"]["data"]["errorType"], "UNAUTHENTICATED");
    const ApiCaller added(host);
    EXPECT_TRUE(
        added.Call(kListMethod, "{}", added.TokenFor("eve", {kReadPrivilege})).contains("result"));
}

TEST_F(Api, ServesBothLoopbackAddressesOnly) {
    Start();
    const std::string document =
        std::string(R"({"jsonrpc":"2.0","id":1,"method":")") + kIntrospection + "\"}";
    for (const char* address : {"127.0.0.1", "::1"}) {
        EXPECT_EQ(ApiCaller::Post(document, "", address).status, 200) << address;
    }
    EXPECT_THROW(ApiCaller::Post(document, "", "127.0.0.2"), std::system_error);
}

}  // namespace
