// "audit" on logs that the test writes.
#include "ctl/access/audit_reader.h"
#include "support/host_directory.h"
#include "support/tool_run.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace Test {
namespace {

constexpr char kGood[] = R"({"time":"2026-01-01T00:00:00.000Z","eventID":"api.call",)"
                         R"("subject":"alice","object":"a.b:list","success":true,"pairs":{}})";
constexpr char kDenied[] = R"({"time":"2026-01-01T00:00:01.000Z","eventID":"api.call",)"
                           R"("subject":"","object":"a.b\n:get","success":false,"pairs":{}})";

class Audit : public testing::Test {
  protected:
    Audit() { std::filesystem::create_directories(log.parent_path()); }
    void Append(const std::string& text) const {
        std::ofstream(log, std::ios::app) << text << std::flush;
    }
    ToolResult Run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "audit");
        return RunTool(arguments, {"SENTREL_ROOT=" + host.Root()});
    }

    const HostDirectory host;
    const std::filesystem::path log = host.Root() + "/var/log/korvex/audit.jsonl";
};

TEST_F(Audit, ShowsTheRecords) {
    ExpectFailure(Run({}), "No such file or directory; the daemon creates it at the first call");
    Append("");
    EXPECT_EQ(Run({}).output, "No matching call is recorded.\n");
    Append(std::string(kGood) + "\n{\"cut\n" + kDenied + "\n" + "{\"unfinished");
    EXPECT_EQ(Run({}).output,
              "TIME                      RESULT  USER          CALL\n"
              "2026-01-01T00:00:00.000Z  ok      alice         a.b:list\n"
              "?                         ?       ?             {\"cut\n"
              "2026-01-01T00:00:01.000Z  denied  -             a.b\uFFFD:get\n");
    EXPECT_EQ(Run({"--denied", "--json"}).output, std::string(kDenied) + "\n");
}

TEST_F(Audit, BeginsWithTheOlderFiles) {
    for (const char* const number : {"1", "2", "8", "9"}) {
        ::Test::WriteFile(log.string() + "." + number, std::string(number) + "\ncut");
    }
    const auto lines = [this] {
        std::string all;
        Ctl::AuditReader reader(log);
        for (std::string line; reader.Next(line);) {
            all += line + " ";
        }
        return all;
    };
    EXPECT_EQ(lines(), "8 2 1 ");
    Append("new\n");
    EXPECT_EQ(lines(), "8 2 1 new ");
    std::filesystem::create_hard_link(log, log.string() + ".3");
    std::filesystem::rename(log.string() + ".3", log.string() + ".1");  // renamed while opening
    EXPECT_EQ(lines(), "8 2 new ");
}

TEST_F(Audit, FollowsTheRotatedLog) {
    Append("one\n");
    Ctl::AuditReader reader(log);  // no root is set here
    std::string line;
    ASSERT_TRUE(reader.Next(line));
    EXPECT_FALSE(reader.Next(line));
    ASSERT_TRUE(reader.WaitForMore());
    EXPECT_FALSE(reader.Next(line));
    Append("tw");
    ASSERT_TRUE(reader.WaitForMore());
    EXPECT_FALSE(reader.Next(line));
    Append("o\nthree\n");
    std::filesystem::rename(log, log.string() + ".1");
    Append("four\n");
    ASSERT_TRUE(reader.WaitForMore());
    for (const char* expected : {"two", "three", "four"}) {
        ASSERT_TRUE(reader.Next(line)) << expected;
        EXPECT_EQ(line, expected);
    }
    EXPECT_FALSE(reader.Next(line));
}

}  // namespace
}  // namespace Test
