// "config ..." by the real program, on a host of the test's own.
#include "platform/sys/owned_fd.h"
#include "support/host_directory.h"
#include "support/network_namespace.h"
#include "support/tool_run.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Test {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using Json = nlohmann::json;

class ConfigCommands : public testing::Test {
  protected:
    ConfigCommands() {
        AddPlugin("cpu");
        host.WriteVendorEntry("sentrel", R"({"http_port": 9996})");
        host.WriteVendorEntry("cpu",
                              R"({"enabled": true, "frequency": "fast", "log_level": "info"})");
    }

    void AddPlugin(const std::string& name) const {
        WriteFile(host.Root() + "/usr/lib/korvex/sentrel/plugins/bin/" + name, "");
    }
    ToolResult Run(std::vector<std::string> arguments, User user = User::Own) const {
        arguments.insert(arguments.begin(), "config");
        return RunTool(arguments, {"SENTREL_ROOT=" + host.Root()}, user);
    }
    Json Get(const std::string& name) const {
        const ToolResult result = Run({"get", name, "--json"});
        EXPECT_EQ(result.status, 0) << result.error;
        return Json::parse(result.output, nullptr, /*allow_exceptions=*/false);
    }
    std::string HostFile(const std::string& key) const {
        return host.Root() + "/etc/korvex/tabulon/oru/health/" + key + ".json";
    }

    const HostDirectory host;
};

TEST_F(ConfigCommands, GetShowsTheEffectiveValueAndItsOrigin) {
    struct Row {
        const char* entry;
        const char* hostFile;
        const char* setting;
        Json value;
        const char* from;
        const char* remark;
    };
    const Row rows[] = {
        {"sentrel", "{}", "sentrel.http_port", 9996, "vendor file", ""},
        {"sentrel", R"({"http_port": 1})", "sentrel.http_port", 1, "host file", ""},
        {"sentrel", R"({"http_port": null})", "sentrel.http_port", 9996, "default",
         "the host file removes the vendor's value"},
        {"sentrel", R"({"http_port": 3e9})", "sentrel.http_port", 9996, "default",
         "\"http_port\" in the host file is a number with a fraction or an exponent, not an "
         "integer of 32 bits"},
        {"sentrel", R"({"fast_queue": 7})", "sentrel.fast_queue/time_period_in_mins", 5, "default",
         "\"fast_queue\" in the host file is an integer, not an object"},
        {"sentrel", R"({"fast_queue": {"time_period_in_mins": 7}})",
         "sentrel.fast_queue/time_period_in_mins", 7, "host file", ""},
        {"sentrel", R"({"plugin_resource_pool_size_MB": 501})",
         "sentrel.plugin_resource_pool_size_MB", 40, "default",
         "\"501\" in the host file is ignored"},
        {"cpu", R"({"frequency": "Slowly"})", "cpu.frequency", "slow", "host file",
         "\"Slowly\" in the host file counts as this"},
        {"cpu", R"({"frequency": "hourly"})", "cpu.frequency", "fast", "default",
         "\"hourly\" in the host file is ignored"},
        {"cpu", R"({"log_level": "warn"})", "cpu.log_level", nullptr, "default",
         "\"warn\" in the host file is ignored"},
        {"pellmar", R"({"log": {"level": 7}})", "pellmar.log/level", 7, "host file", ""},
    };
    for (const Row& row : rows) {
        host.WriteStoreEntry(row.entry, row.hostFile);
        const Json answer = Get(row.setting);
        EXPECT_EQ(answer["value"], row.value) << row.hostFile;
        EXPECT_EQ(answer["from"], row.from) << row.hostFile;
        EXPECT_EQ(answer.value("remark", ""), row.remark) << row.hostFile;
    }
    EXPECT_EQ(Run({"get", "pellmar.log/level"}).output, "7\n");
    EXPECT_EQ(Run({"get", "cpu.log_level"}).output, "\n");
}

TEST_F(ConfigCommands, SuggestsSettingsForUnknownNames) {
    AddPlugin("a.b");
    EXPECT_EQ(Run({"get", "a.b.enabled"}).output, "true\n");
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"sentrel", "write ENTRY.KEY; sentrel has http_port, "},
        {"cpu.freq", "; cpu has enabled, frequency, log_level and sandbox\n"},
        {"cpo.frequency", "; the closest is cpu.frequency; "},
        {"nothing.like.it", "\"nothing.like.it\"; \"sentrelctl config list\" shows all\n"},
    };
    for (const auto& [name, hint] : rows) {
        ExpectFailure(Run({"get", name}), hint);
    }
}

TEST_F(ConfigCommands, SetRefusesWhatTheSettingDoesNotAccept) {
    const std::vector<std::vector<std::string>> rows = {
        {"sentrel.http_port"},
        {"sentrel.http_port", "1", "--unset"},
        {"sentrel.http_port", "0"},
        {"sentrel.http_port", "65536"},
        {"sentrel.http_port", "9984"},
        {"sentrel.http_port", "0x10"},
        {"sentrel.http_port", "09996"},
        {"sentrel.http_port", "99999999999999999999"},
        {"sentrel.fast_queue/time_period_in_mins", "4"},
        {"sentrel.plugin_resource_pool_size_MB", "40"},
        {"sentrel.plugin_resource_pool_size_MB", "501"},
        {"pellmar.log/level", "8"},
        {"cpu.enabled", "True"},
        {"cpu.frequency", "FAST"},
        {"cpu.log_level", "warn"},
        {"token.issuer", ""},
        {"token.issuer", "\xff"},
        {"token.jwks", "keys.json"},
    };
    for (std::vector<std::string> row : rows) {
        row.insert(row.begin(), "set");
        const ToolResult result = Run(row);
        EXPECT_EQ(result.status, 2) << row[1] << " " << row.back() << result.output;
    }
    EXPECT_FALSE(std::filesystem::exists(host.Root() + "/etc"));
}

TEST_F(ConfigCommands, SetKeepsOtherMembersInOrderAndUnsetUndoesIt) {
    host.WriteStoreEntry("sentrel", R"({"z": [1, 2], "fast_queue": {"b": 1}, "a": "x"})");
    const std::string before = ReadFile(HostFile("sentrel"));
    const ToolResult result = Run({"set", "sentrel.fast_queue/time_period_in_mins", "15"});
    ASSERT_EQ(result.status, 0) << result.error;
    EXPECT_THAT(result.output, HasSubstr("Was      5 (default)\nIs       15 (host file)\n"));
    EXPECT_EQ(nlohmann::ordered_json::parse(ReadFile(HostFile("sentrel"))).dump(),
              R"({"z":[1,2],"fast_queue":{"b":1,"time_period_in_mins":15},"a":"x"})");
    struct stat status{};
    ASSERT_EQ(::stat(HostFile("sentrel").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0644U);

    const ino_t written = status.st_ino;
    const ToolResult same = Run({"set", "sentrel.fast_queue/time_period_in_mins", "15"});
    EXPECT_THAT(same.output, EndsWith(" is already 15 (host file); nothing is written.\n"));
    ASSERT_EQ(::stat(HostFile("sentrel").c_str(), &status), 0);
    EXPECT_EQ(status.st_ino, written);

    ASSERT_EQ(Run({"set", "sentrel.fast_queue/time_period_in_mins", "--unset"}).status, 0);
    EXPECT_EQ(Json::parse(ReadFile(HostFile("sentrel"))), Json::parse(before));
    ASSERT_EQ(Run({"set", "cpu.frequency", "slow"}).status, 0);
    ASSERT_EQ(Run({"set", "cpu.frequency", "--unset"}).status, 0);
    EXPECT_EQ(ReadFile(HostFile("cpu")), "{}\n");
}

TEST_F(ConfigCommands, SetLeavesAFileThatItWouldDamage) {
    const std::string comments = "{\n// why\n\"http_port\": 1}";
    const std::vector<std::pair<std::string, std::string>> rows = {
        {comments, ".json:2: the file has comments, which this would remove; "},
        {"{\n \"http_port\"}", ".json:2:13: "},
        {"[]", ".json:1:1: "},
    };
    for (const auto& [text, problem] : rows) {
        host.WriteStoreEntry("sentrel", text);
        ExpectFailure(Run({"set", "sentrel.http_port", "9997"}), problem);
        EXPECT_EQ(ReadFile(HostFile("sentrel")), text);
    }
    host.WriteStoreEntry("sentrel", comments);
    EXPECT_EQ(Run({"set", "sentrel.http_port", "9997", "--discard-comments"}).status, 0);
    EXPECT_EQ(ReadFile(HostFile("sentrel")), "{\n    \"http_port\": 9997\n}\n");

    std::filesystem::rename(HostFile("sentrel"), host.Base() + "elsewhere");
    std::filesystem::create_symlink(host.Base() + "elsewhere", HostFile("sentrel"));
    ExpectFailure(Run({"set", "sentrel.http_port", "9998"}), " is a link to ");
}

TEST_F(ConfigCommands, TwoWritersLoseNothing) {
    const auto writeAll = [this](const char* setting, int first) {
        for (int value = first; value < first + 20; ++value) {
            EXPECT_EQ(Run({"set", setting, std::to_string(value)}).status, 0);
        }
    };
    std::thread other(writeAll, "sentrel.fast_queue/time_period_in_mins", 10);
    writeAll("sentrel.http_port", 2000);
    other.join();
    EXPECT_EQ(Get("sentrel.http_port")["value"], 2019);
    EXPECT_EQ(Get("sentrel.fast_queue/time_period_in_mins")["value"], 29);
}

TEST_F(ConfigCommands, SetGivesUpWhenTheFileStaysLocked) {
    const std::filesystem::path file = host.WriteStoreEntry("sentrel", "{}");
    const Sys::OwnedFd folder(::open(file.parent_path().c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(::flock(folder.Get(), LOCK_EX), 0);
    ExpectFailure(Run({"set", "sentrel.http_port", "9997"}),
                  "another program has locked " + host.Root() +
                      "/etc/korvex/tabulon/oru/health; try again when");
    EXPECT_EQ(ReadFile(file), "{}");
}

TEST_F(ConfigCommands, SetNamesAStoreThatCannotBeWritten) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user and mount";
    }
    EnterNetworkNamespace();
    const std::vector<std::string> change = {"set", "sentrel.http_port", "9997"};
    const std::string file = host.WriteStoreEntry("sentrel", "{}");
    std::filesystem::permissions(host.Base(), std::filesystem::perms(0755));
    ExpectFailure(Run(change, User::Nobody), "Permission denied; run this as ");
    const std::filesystem::path folder = std::filesystem::path(file).parent_path();
    std::filesystem::permissions(folder, std::filesystem::perms(0700));
    ExpectFailure(Run(change, User::Nobody), "Permission denied; run this as root\n");
    const ToolResult check = Run({"check"}, User::Nobody);  // the daemon may read them
    EXPECT_THAT(check.output, AllOf(HasSubstr("sentrel.json cannot be read: Permission denied"),
                                    Not(HasSubstr("the daemon does"))));
    const MountedDirectory mounted(folder, 4096);
    WriteFile(file + ".filler", std::string(4096, ' '));
    ExpectFailure(Run(change), "No space left on device; free some space there");
    mounted.SetAccess(MountedDirectory::Access::ReadOnly);
    ExpectFailure(Run(change), "Read-only file system; ");
}

TEST_F(ConfigCommands, CheckFindsSettingsThatTheDaemonIgnores) {
    struct Row {
        const char* entry;
        const char* hostFile;
        const char* severity;
        const char* subject;
        const char* text;
    };
    const Row rows[] = {
        {"sentrel", "{\n\n1}", "error", "entry sentrel", ".json:3:1: "},
        {"sentrel", R"({"http_port": 0})", "error", "sentrel.http_port", "0 is not a port"},
        {"sentrel", R"({"http_port": 9984})", "error", "sentrel.http_port", "port of the API"},
        {"sentrel", R"({"http_port": 80})", "warning", "sentrel.http_port", "privileged port"},
        {"sentrel", R"({"http_port": 9996})", "notice", "sentrel.http_port", "repeats the vendor"},
        {"sentrel", R"({"fast_queue": {"time_period_in_mins": 4}})", "warning",
         "sentrel.fast_queue/time_period_in_mins", "4 is ignored; 5 is used instead"},
        {"sentrel", R"({"plugin_resource_pool_size_MB": 64, "plugin_memory_limit_MB": 10})",
         "warning", "sentrel.plugin_memory_limit_MB",
         "10 is less than plugin_resource_pool_size_MB; 64 is"},
        {"sentrel", R"({"htp_port": 1})", "warning", "/sentrel.json",
         "unknown setting \"htp_port\""},
        {"sentrel", R"({"fast_queue/time_period_in_mins": 9})", "warning", "/sentrel.json",
         "unknown setting "},
        {"pellmar", R"({"log": {"level": 2}})", "warning", "pellmar.log/level", "outside 3 to 7"},
        {"cpu", R"({"enabled": "yes"})", "warning", "cpu.enabled", "a string, not a boolean"},
        {"cpu", R"({"frequency": "hourly"})", "warning", "cpu.frequency", "fast is used instead"},
        {"cpu", R"({"frequency": "fast", "frequency": "slow"})", "warning", "/cpu.json",
         "two members with the same name (\"frequency\"): the last one counts"},
        {"cpo", "{}", "warning", "/cpo.json", "no plugin cpo is installed"},
        {"test_cpu", "{}", "warning", "/test_cpu.json", "/etc/korvex/tabulon/oru_dev_only/"},
    };
    AddPlugin("test_cpu");
    for (const Row& row : rows) {
        const std::string file = host.WriteStoreEntry(row.entry, row.hostFile);
        const ToolResult result = Run({"check", "--json"});
        const Json findings = Json::parse(result.output)["findings"];
        const auto isIt = [&row](const Json& finding) {
            return finding["severity"] == row.severity &&
                   std::string(finding["subject"]).ends_with(row.subject) &&
                   std::string(finding["text"]).find(row.text) != std::string::npos &&
                   !std::string(finding["remedy"]).empty();
        };
        EXPECT_TRUE(std::any_of(findings.begin(), findings.end(), isIt))
            << row.hostFile << ": " << findings.dump(1);
        std::filesystem::remove(file);
    }
}

TEST_F(ConfigCommands, CheckExitsWith1OnlyForErrors) {
    std::filesystem::create_directories(host.Root() + "/etc/korvex/oru/token");
    WriteFile(host.Root() + "/etc/korvex/oru/token/jwks.json", "{}");
    host.WriteVendorEntry("sentrel", R"({"http_port": 9996, "plugin_resource_pool_size_MB": 64})");
    EXPECT_EQ(Run({"check"}).output,
              "ok       settings  13 settings in 4 entries are valid\n\nNo problems found.\n");
    const std::string file = host.WriteStoreEntry("cpu", R"({"frequency": "slow"})");
    std::filesystem::permissions(file, std::filesystem::perms(0666));
    const ToolResult warned = Run({"check"});
    EXPECT_EQ(warned.status, 0);
    EXPECT_THAT(warned.output, HasSubstr("has mode 0666: users other than its owner can change"));
    AddPlugin("new");
    const ToolResult failed = Run({"check"});
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.output, HasSubstr("-> sentrelctl config set new.enabled true\n"));
    EXPECT_THAT(failed.output, EndsWith("1 error, 1 warning\n"));
}

}  // namespace
}  // namespace Test
