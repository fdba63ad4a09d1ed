// "token init", "issue" and "inspect" by the real program, on a host in a directory.
#include "platform/token/token_signer.h"
#include "support/host_directory.h"
#include "support/tool_run.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace Test {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using Json = nlohmann::json;

class TokenCommands : public testing::Test {
  protected:
    ToolResult Run(std::vector<std::string> arguments, std::string_view input = "") const {
        arguments.insert(arguments.begin(), "token");
        return RunTool(arguments, {"SENTREL_ROOT=" + host.Root()}, User::Own, input);
    }
    Json Inspect(const std::string& token) const {
        return Json::parse(Run({"inspect", "--json"}, token).output);
    }

    const HostDirectory host;
};

TEST_F(TokenCommands, InitCreatesOnePrivateKeyAndKeepsIt) {
    const ToolResult first = Run({"init"});
    EXPECT_THAT(first.output, HasSubstr("Created     " + host.Root() +
                                        "/var/lib/korvex/oru/token/signing-key.json\n"));
    const Json again = Json::parse(Run({"init", "--json"}).output);
    EXPECT_EQ(again["made"], false);
    EXPECT_THAT(first.output, HasSubstr(again["kid"].get<std::string>()));
    EXPECT_EQ(ModeOf(host.Root() + "/var/lib/korvex/oru/token/signing-key.json"), 0600U);
    const Json trusted = Json::parse(ReadFile(host.Root() + "/etc/korvex/oru/token/jwks.json"));
    ASSERT_EQ(trusted["keys"].size(), 1U);
    EXPECT_FALSE(trusted["keys"][0].contains("d"));
}

TEST_F(TokenCommands, IssueParsesDurations) {
    ASSERT_EQ(Run({"init"}).status, 0);
    struct Row {
        const char* ttl;
        long seconds;  // 0: refused
    };
    const Row rows[] = {
        {"1s", 1},          {"90s", 90},    {"15m", 900},
        {"1h", 3600},       {"7d", 604800}, {"3650d", 315360000},
        {"3651d", 0},       {"0s", 0},      {"-1h", 0},
        {"h", 0},           {"1", 0},       {"1 h", 0},
        {"1.5h", 0},        {"1H", 0},      {"99999999999999999999s", 0},
        {"2147483647d", 0}, {"1hh", 0},
    };
    for (const Row& row : rows) {
        const ToolResult result = Run({"issue", "--subject", "eve", "--ttl", row.ttl});
        if (row.seconds == 0) {
            EXPECT_EQ(result.status, 2) << row.ttl;
            EXPECT_THAT(result.error, HasSubstr("for --ttl; use, for example, 15m"));
            continue;
        }
        const Json claims = Inspect(result.output)["claims"];
        EXPECT_EQ(claims["exp"].get<long>() - claims["iat"].get<long>(), row.seconds) << row.ttl;
    }
}

TEST_F(TokenCommands, IssuePrintsTheTokenAloneAndInspectShowsIt) {
    ASSERT_EQ(Run({"init"}).status, 0);
    const ToolResult issued = Run({"issue", "--subject", "eve", "--entitlement", "a.read",
                                   "--entitlement", "observability.report.read"});
    EXPECT_THAT(issued.error,
                AllOf(HasSubstr("needs the entitlement \"a.read\"; the known ones: observ"),
                      HasSubstr("; did you mean \"observability.reports.read\"?\n")));
    const std::string token = issued.output;
    EXPECT_EQ(token.find_first_of(" \n"), token.size() - 1);
    const std::string file = host.Base() + "token";
    WriteFile(file, token);
    const ToolResult shown = Run({"inspect", file});
    EXPECT_THAT(shown.output, HasSubstr("Trusted here  yes\nAlgorithm     ES256\n"));
    EXPECT_THAT(shown.output,
                HasSubstr("entitlements  [\"a.read\",\"observability.report.read\"]\n"));
    EXPECT_THAT(shown.output, HasSubstr("sub           eve\n"));
    EXPECT_THAT(shown.output, ContainsRegex("exp           [-0-9]+T[:0-9]+Z .in (59 min|1 h)"));
    EXPECT_THAT(Run({"issue", "--subject", "eve"}).error, HasSubstr("has no entitlements"));
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"inspect"}, {"inspect", "-"}}) {
        EXPECT_THAT(Run(arguments, token).output, HasSubstr("sub           eve\n"));
    }

    std::string tampered = token;
    char& digit = tampered[tampered.rfind('.') + 1];
    digit = digit == 'A' ? 'B' : 'A';
    const HostDirectory elsewhere;
    EXPECT_EQ(Inspect(token)["trusted"], true);
    EXPECT_EQ(Inspect(tampered)["trusted"], false);
    const ToolResult untrusted = Run({"inspect", "--root", elsewhere.Root()}, token);
    EXPECT_EQ(untrusted.status, 1);
    EXPECT_THAT(untrusted.output, HasSubstr("Trusted here  no: no key is trusted"));
}

TEST_F(TokenCommands, ReportFailuresWithAdvice) {
    ExpectFailure(Run({"issue", "--subject", "eve"}), "\"sentrelctl token init\"");
    ExpectFailure(Run({"inspect"}), "standard input holds no token; \"sentrelctl token issue");
    ExpectFailure(Run({"inspect"}, "a\nb"), "standard input holds no token");
    ExpectFailure(Run({"inspect"}, std::string(10000, 'x')), "standard input holds no token");
    ExpectFailure(Run({"inspect"}, "a.b"), "not a valid token: ");
    ExpectFailure(Run({"inspect", "/none"}), "/none: No such file or directory; name a");
    EXPECT_EQ(Run({"issue"}).status, 2);
    ASSERT_EQ(Run({"init"}).status, 0);
    ExpectFailure(Run({"issue", "--subject", std::string(5000, 'x')}), "");
    WriteFile(host.Root() + "/etc/korvex/oru/token/jwks.json", "[]");
    ExpectFailure(Run({"init"}),
                  host.Root() + "/etc/korvex/oru/token/jwks.json is not a JWK Set: ");
    WriteFile(host.Root() + "/var/lib/korvex/oru/token/signing-key.json", "{}");
    ExpectFailure(Run({"issue", "--subject", "eve"}), "/var/lib/korvex/oru/token/signing-key.json");
    ExpectFailure(Run({"issue", "--subject", "eve"}), "; move it away, then run \"sentrelctl tok");
}

}  // namespace
}  // namespace Test
