// "doctor" and what it finds things out with, on a healthy host and on one with a dozen faults.
#include "ctl/host/listening_sockets.h"
#include "ctl/host/process_stat.h"
#include "support/cgroup_root.h"
#include "support/descriptors.h"
#include "support/http_client.h"
#include "support/loopback.h"
#include "support/tool_host.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <unistd.h>

namespace Test {
namespace {

using Json = nlohmann::json;
using testing::HasSubstr;

class DoctorCommand : public ToolHost {
  protected:
    void SetUp() override {
        if (!group.Problem().empty()) {
            GTEST_SKIP() << group.Problem();
        }
        OutputOf({"token", "init"});
        const std::string variable = "SENTREL_CGROUP_ROOT=" + group.Path();
        ASSERT_EQ(RunTool({"group", "ensure"}, {"SENTREL_ROOT=" + host.Root(), variable}).status,
                  0);
    }
    std::string Group() const { return group.Path() + "/host/pax/kolbern/sentrel-plugins"; }

    const CgroupRoot group;
};

// Whether one of the findings is so; all of them are shown when none is.
void ExpectFinding(const Json& findings, const std::string& severity, const std::string& subject,
                   const std::string& text) {
    for (const Json& finding : findings) {
        if (finding["severity"] == severity && finding["subject"] == subject &&
            finding["text"].get<std::string>().find(text) != std::string::npos) {
            EXPECT_EQ(finding["remedy"] == "", severity == "ok") << finding;
            return;
        }
    }
    ADD_FAILURE() << "no " << severity << " of " << subject << ": " << text << " in\n" << findings;
}

TEST_F(DoctorCommand, FindsNoFaultOnAHealthyHost) {
    StartDaemon(group.Path());
    HttpClient client;
    EXPECT_EQ(client.Post("/my.check", ReportDocument("my.check")), 200);
    const ToolResult result = Run({"doctor", "--json"});
    EXPECT_EQ(result.status, 0) << result.error;
    const Json answer = Json::parse(result.output);
    EXPECT_THAT(answer["worst"], testing::AnyOf("ok", "notice")) << answer;
    ExpectFinding(answer["findings"], "ok", "daemon",
                  "process " + std::to_string(daemon->GetPid()) + " of ");
    ExpectFinding(answer["findings"], "ok", "API", "9984 on 127.0.0.1");
    ExpectFinding(answer["findings"], "ok", "group", Group());
    EXPECT_THAT(OutputOf({"group", "show"}), HasSubstr("SENTREL_CGROUP_ROOT of the daemon"));
}

TEST_F(DoctorCommand, SaysWhatTakesEffectAtTheNextStart) {
    StartDaemon(group.Path());
    OutputOf({"config", "set", "token.jwks", "/missing.json"});
    const ToolResult result = Run({"doctor", "--json"});
    EXPECT_EQ(result.status, 1) << result.error;
    ExpectFinding(Json::parse(result.output)["findings"], "error", "trust set",
                  "/missing.json is missing: every token is refused once sentrel restarts");
}

TEST_F(DoctorCommand, ReportsEachFaultOfABrokenHost) {
    const IdleProcess old;  // older than the daemon, so nobody will end it
    old.MoveTo(Group());
    StartDaemon(group.Path());
    const std::string reports = ReportDirectory();
    const std::string plugins = host.Root() + "/usr/lib/korvex/sentrel/plugins/bin";
    const std::string key = host.Root() + "/var/lib/korvex/oru/token/signing-key.json";
    HttpClient client;
    client.Post("/late", R"({"structured": {"name": "late", "time": "2099-01-01T00:00:00",
                            "status": 2}, "unstructured": {}})");
    client.Post("/bad", R"({"structured": {"name": "other"}, "unstructured": {}})");
    client.Post("/lost-in-thought", R"({"structured": {"name": "lost-in-thought",
                "time": "2024-01-01T00:00:00Z", "status": 4}, "unstructured": {}})");
    WriteFile(reports + "/stray", "");
    std::filesystem::create_symlink("nowhere", reports + "/gone.json");
    WriteFile(reports + "/lost-0.json", "{}");
    const std::string timers = host.Root() + "/etc/systemd/system/timers.target.wants";
    std::filesystem::create_directories(timers);
    std::filesystem::create_symlink("nowhere", timers + "/sentrel-metrics.timer");
    std::filesystem::create_directories(host.Root() + "/etc/default");
    WriteFile(host.Root() + "/etc/default/sentrel-metrics",
              "SENTREL_TEXTFILE_DIRECTORY=\"/srv/textfiles\"\n");
    std::filesystem::permissions(reports, std::filesystem::perms::all);
    host.WriteStoreEntry("ghost", R"({"enabled": true, "frequency": "fast", "log_level": "info"})");
    std::filesystem::create_symlink("nowhere", plugins + "/ghost");
    host.WriteStoreEntry("sentrel", R"({"http_port": "many"})");
    std::filesystem::permissions(key, std::filesystem::perms(0644));
    WriteFile(host.Root() + "/etc/korvex/oru/token/jwks.json", R"({"keys": [{"d": ""}]})");
    std::filesystem::create_directories(host.Root() + "/var/log/korvex");
    WriteFile(host.Root() + "/var/log/korvex/audit.jsonl", "");
    std::filesystem::permissions(host.Root() + "/var/log/korvex/audit.jsonl",
                                 std::filesystem::perms(0666));
    WriteFile(host.Root() + "/usr/lib/korvex/quon/observability_quon_metadata.json", "{");
    std::ofstream(Group() + "/cgroup.freeze") << "1" << std::flush;

    const ToolResult result = Run({"doctor", "--json"});
    EXPECT_EQ(result.status, 1) << result.error;
    const Json findings = Json::parse(result.output)["findings"];
    const struct {
        const char* severity;
        const char* subject;
        std::string text;
    } rows[] = {
        {"warning", "changes", "sentrel.json"},
        {"error", "plugin ghost", "is a link to nowhere, which is missing"},
        {"error", "group", "is frozen"},
        {"warning", "group", "1 process has outlived their run: "},
        {"warning", "report directory", "is writable by others"},
        {"warning", "report directory",
         "links without a file, so these reports are not served: gone"},
        {"notice", "report directory", "not report files: stray"},
        {"warning", "report directory",
         "stored without a link, so these reports are not served: l"},
        {"warning", "metrics", "writes nothing: " + host.Root() + "/srv/textfiles is missing"},
        {"error", "reports", "1 INVALID (not valid reports; full listings omit them): b"},
        {"warning", "reports",
         "1 UNKNOWN (the check could not determine the state): lost-in-thought"},
        {"notice", "reports", "1 NEVER (the plugin has not reported yet): ghost"},
        {"warning", "times of reports", "without a time zone"},
        {"warning", "times of reports", "in the future: late"},
        {"error", "signing key", "0644) is accessible to others"},
        {"error", "trust set", "holds private keys"},
        {"error", "trust set", "no usable key"},
        {"warning", "audit log", "0666) is accessible to everybody"},
        {"error", "metadata file", "is not JSON"},
    };
    for (const auto& row : rows) {
        ExpectFinding(findings, row.severity, row.subject, row.text);
    }
    host.WriteStoreEntry("pellmar", "{");  // with it no daemon would start again
    EXPECT_THAT(Run({"doctor", "--json"}).output,
                HasSubstr("\"correct the settings first, then: "));
    std::filesystem::remove(host.WriteStoreEntry("pellmar", ""));
    EXPECT_THAT(OutputOf({"group", "kill"}), HasSubstr("Killed 1 process.\n"));
    EXPECT_TRUE(old.HasEnded());
}

TEST_F(DoctorCommand, FindsAReportDirectoryThatTheDaemonDoesNotShare) {
    {
        const MountedDirectory mounted(ReportDirectory(), 1 << 20);
        StartDaemon(group.Path(), "exec unshare --mount --propagation private \"$0\" \"$@\"");
    }
    const auto findings = [this] {
        return Json(Json::parse(Run({"doctor", "--json"}).output)["findings"]);
    };
    ExpectFinding(findings(), "error", "report directory", "the daemon uses another ");
    std::filesystem::rename(ReportDirectory(), host.Base() + "elsewhere");
    daemon.reset();
    StartDaemon(group.Path());
    ExpectFinding(findings(), "error", "report directory",
                  "is missing: every post is answered with 500");
}

TEST_F(DoctorCommand, NamesTheChecksThatNeedRoot) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    StartDaemon(group.Path());
    std::filesystem::permissions(host.Base(), std::filesystem::perms(0755));
    const ToolResult result =
        RunTool({"doctor", "--json"}, {"SENTREL_ROOT=" + host.Root()}, User::Nobody);
    const Json findings = Json::parse(result.output)["findings"];
    ExpectFinding(findings, "notice", "daemon", "cannot see which process listens on port 9996");
    ExpectFinding(findings, "notice", "signing key", "");
    const std::string text =
        RunTool({"doctor"}, {"SENTREL_ROOT=" + host.Root()}, User::Nobody).output;
    const auto skipped = std::count_if(findings.begin(), findings.end(), [](const Json& finding) {
        return finding["skipped"].get<bool>();
    });
    EXPECT_THAT(text, testing::ContainsRegex("\n[0-9]+ checks passed; list them with --all\n"
                                             "([^\n]*\n)?" +
                                             std::to_string(skipped) +
                                             " checks skipped: run as root to inspect them\n$"));
    EXPECT_THAT(text, testing::Not(testing::ContainsRegex("ok  |-> run this as root")));
    for (const Json& finding : findings) {
        EXPECT_NE(finding["severity"], "error") << finding;
    }
}

TEST_F(DoctorCommand, NamesTheProcessThatHoldsThePortOfAStoppedDaemon) {
    const auto findingsNow = [this] {
        return Json(Json::parse(Run({"doctor", "--json"}).output)["findings"]);
    };
    const std::string auditLog = host.Root() + "/var/log/korvex/audit.jsonl";
    std::filesystem::create_directories(host.Root() + "/var/log/korvex");
    WriteFile(auditLog, "");
    std::filesystem::resize_file(auditLog, 128 << 20);
    WriteFile(auditLog + ".8", std::string(1 << 20, '\n'));
    ExpectFinding(findingsNow(), "warning", "audit log",
                  "MiB and 1 older file of 1.0 MiB: the daemon could not rename it");
    ExpectFinding(findingsNow(), "error", "daemon", "nothing is listening on port 9996");
    {
        const Sys::OwnedFd stranger = ListenAt("0.0.0.0", 9996);
        const Json findings = findingsNow();
        ExpectFinding(findings, "error", "daemon",
                      "held by process " + std::to_string(::getpid()) + " (");
        ExpectFinding(findings, "error", "intake port", "port 9996 is open on 0.0.0.0");
    }
    {
        const Sys::OwnedFd stranger = ListenAt("127.0.0.1", 9984);
        ExpectFinding(findingsNow(), "error", "API",
                      "port 9984 is held by process " + std::to_string(::getpid()) + " (");
    }
    host.WriteStoreEntry("sentrel", "{");
    const Json findings = findingsNow();
    ExpectFinding(findings, "error", "entry sentrel", "sentrel.json");
    for (const Json& finding : findings) {  // follows from that
        EXPECT_NE(finding["subject"], "daemon");
    }
}

TEST(ProcFiles, AreReadAsTheKernelWritesThem) {
    const auto process =
        Ctl::ParseProcessStat("7 (a) (b c) S 1 7 5 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0 250 9 9", 100);
    ASSERT_TRUE(process);
    EXPECT_EQ(process->name, "a) (b c");
    EXPECT_EQ(process->parent, 1);
    EXPECT_EQ(process->session, 5);
    EXPECT_EQ(process->uptime, std::chrono::milliseconds(2500));
    EXPECT_FALSE(Ctl::ParseProcessStat("7 (a) S 1 7 5", 100));

    using Reach = Ctl::ListeningSocket::Reach;
    const struct {
        const char* local;  // with its state
        const char* address;
        Reach reach;
    } rows[] = {
        {"0100007F:270C 0:0 0A", "127.0.0.1", Reach::Loopback},
        {"00000000:270C 0:0 0A", "0.0.0.0", Reach::AnyAddress},
        {"0101A8C0:270C 0:0 0A", "192.168.1.1", Reach::OneAddress},
        {"00000000000000000000000001000000:270C 0:0 0A", "::1", Reach::Loopback},
        {"00000000000000000000000000000000:270C 0:0 0A", "::", Reach::AnyAddress},
        {"0000000000000000FFFF00000100007F:270C 0:0 0A", "::ffff:127.0.0.1", Reach::Loopback},
        {"0100007F:270D 0:0 0A", nullptr, Reach::Loopback},  // another port
        {"0100007F:270C 0:0 01", nullptr, Reach::Loopback},  // a connection
        {"0100007F 0:0 0A", nullptr, Reach::Loopback},
    };
    for (const auto& row : rows) {
        const std::string text =
            "  sl\n 0: " + std::string(row.local) + " 0:0 00:0 0  33        0 99 1\n";
        const auto sockets = Ctl::ParseListeningSockets(text, 0x270C);
        ASSERT_EQ(sockets.size(), row.address == nullptr ? 0U : 1U) << row.local;
        if (row.address != nullptr) {
            EXPECT_EQ(sockets[0].address, row.address);
            EXPECT_EQ(sockets[0].reach, row.reach) << row.local;
            EXPECT_EQ(sockets[0].inode, 99U);
        }
    }
}

}  // namespace
}  // namespace Test
