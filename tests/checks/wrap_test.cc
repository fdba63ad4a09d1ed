// Wrapped checks, run for real, and the text that they print.
#include "checks/wrap/wrap.h"

#include "checks/wrap/output.h"
#include "support/host_directory.h"
#include "support/report_contract.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>

#include <chrono>
#include <stdexcept>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using SentrelCheck::Report;
using SentrelCheck::Status;
using testing::HasSubstr;

Report RunWrapped(const std::vector<std::string>& command, int seconds = 60) {
    Wrap::Configuration configuration;
    configuration.command = command;
    configuration.timeLimit = std::chrono::seconds(seconds);
    configuration.exitStatus[5] = Status::None;
    Report report("wrapped");
    Wrap::RunCheck(configuration, report);
    return report;
}

TEST(Wrap, ReportsEveryOutcomeOfACheck) {
    struct Row {
        const char* script;
        Status status;
        const char* reason;
    };
    const Row rows[] = {
        {"echo 'DISK OK | /=1MB'", Status::Ok, "DISK OK"},
        {"echo low; exit 1", Status::Warning, "low"},
        {"echo bad; exit 2", Status::Error, "bad"},
        {"echo odd; exit 3", Status::Unknown, "odd"},
        {"echo absent; exit 5", Status::None, "absent"},
        {"echo x; exit 42", Status::Unknown,
         "the check exited with status 42, which \"exitStatus\" does not map: x"},
        {"exit 1", Status::Warning, "the check printed no text"},
        {"echo 'no such disk' >&2; exit 3", Status::Unknown, "no such disk"},
        {"echo last; kill -SEGV $$", Status::Unknown,
         "the check was killed by signal 11 (Segmentation fault): last"},
        {"echo begun; exec sleep 1000", Status::Unknown,
         "the check ran longer than 1 s and was killed: begun"},
        {"yes", Status::Unknown, "the check printed more than 1 MiB and was killed: y"},
        {"yes >&2", Status::Unknown, "the check printed more than 1 MiB and was killed: y"},
        {"sleep 1000 & echo fine", Status::Ok, "fine"},
        {"cat; echo \"$PATH $LC_ALL\"", Status::Ok, "/usr/sbin:/usr/bin:/sbin:/bin C"},
    };
    for (const Row& row : rows) {
        const bool hangs = std::string(row.script).find("exec sleep") != std::string::npos;
        const Report report = RunWrapped({"/bin/sh", "-c", row.script}, hangs ? 1 : 60);
        EXPECT_EQ(report.GetStatus(), row.status) << row.script;
        EXPECT_EQ(report.Reason(), row.reason) << row.script;
    }
    EXPECT_EQ(RunWrapped({"/nonsense/x"}).Reason(),
              "the check exited with status 127, which \"exitStatus\" does not map: /nonsense/x: "
              "No such file or directory");
}

TEST(Wrap, ReadsTextAndPerformanceData) {
    const Wrap::CheckOutput output = Wrap::ParseOutput(
        " two disks | /=8.5%;10:;@5:20;0;100 'it''s a = b'=-3c rubbish\n"
        "long\ntext | late=2s;~:4;x\n/=9 bad=U ;; huge=1e999 more=1");
    EXPECT_EQ(output.text, "two disks");
    EXPECT_EQ(output.longText, "long\ntext");
    std::string metrics;
    const auto add = [&metrics](const std::optional<double>& number) {
        metrics += ";" + (number ? SentrelCheck::ToWords(*number) : "");
    };
    for (const SentrelCheck::Metric& metric : output.metrics) {
        metrics += metric.name + "=" + SentrelCheck::ToWords(metric.value) + metric.unit;
        for (const auto& number :
             {metric.limits.warning, metric.limits.critical, metric.min, metric.max}) {
            add(number);
        }
        metrics += "\n";
    }
    EXPECT_EQ(metrics, "/=8.5%;10;5;0;100\nit's a = b=-3;;;;\nlate=2s;4;;;\nmore=1;;;;\n");

    struct Row {
        const char* range;
        double value;
        std::optional<double> limit;
    };
    const Row rows[] = {{"10", 1, 10},     {"10:", 99, 10},   {"~:10", -99, 10}, {"10:20", 11, 10},
                        {"10:20", 19, 20}, {"@10:20", 5, 10}, {"0:5", 1, 5},     {"10", -4, 0},
                        {"~:", 1, {}},     {"", 1, {}},       {"a:b", 1, {}},    {":7", 1, 7}};
    for (const Row& row : rows) {
        EXPECT_EQ(Wrap::LimitOf(row.range, row.value), row.limit) << row.range << " " << row.value;
    }
}

TEST(Wrap, RefusesAnInvalidOrWritableConfiguration) {
    const ::Test::TemporaryDirectory directory;
    const std::string path = directory.Path() + "x.json";
    const std::string good = R"({"command": ["/bin/true"], "timeLimit": 5, // seconds
        "environment": {"A": "b"}, "exitStatus": {"3": "NONE"}})";
    const auto faultOf = [&path](const std::string& text, mode_t mode, uid_t owner) {
        ::Test::WriteFile(path, text);
        EXPECT_EQ(::chmod(path.c_str(), mode), 0);
        try {
            const Wrap::Configuration read = Wrap::ReadConfiguration(path, owner);
            EXPECT_EQ(read.timeLimit, std::chrono::seconds(5));
            EXPECT_EQ(read.environment.at("A"), "b");
            EXPECT_EQ(read.exitStatus.at(3), Status::None);
            return std::string();
        } catch (const std::runtime_error& error) {
            return std::string(error.what());
        }
    };
    const uid_t user = ::geteuid();
    EXPECT_EQ(faultOf(good, 0644, user), "");
    EXPECT_THAT(faultOf(good, 0664, user), HasSubstr(path + ": must belong to root"));
    EXPECT_THAT(faultOf(good, 0646, user), HasSubstr(path + ": must belong to root"));
    EXPECT_THAT(faultOf(good, 0644, user + 1), HasSubstr(": must belong to root"));
    for (const auto& [text, fault] : {std::pair(R"({"command": "ls -l"})", "must be a list"),
                                      std::pair(R"({"command": ["ls"]})", "an absolute path"),
                                      std::pair(R"({})", "\"command\" is missing"),
                                      std::pair(R"({"timeLimit": 0})", "from 1 to 3600"),
                                      std::pair(R"({"environment": {"A=": "b"}})", "strings"),
                                      std::pair(R"({"exitStatus": {"256": "OK"}})", "0 to 255"),
                                      std::pair(R"({"exitStatus": {"1": "BAD"}})", "0 to 255"),
                                      std::pair(R"({"shell": true})", "unknown member \"shell\""),
                                      std::pair("[]", "line 1: ")}) {
        EXPECT_THAT(faultOf(text, 0644, user), HasSubstr(fault)) << text;
    }
    ASSERT_EQ(::chmod(directory.Path().c_str(), 0777), 0);
    EXPECT_THAT(faultOf(good, 0644, user), HasSubstr("writable by nobody else"));
}

// Of the package monitoring-plugins-basic, which `./dev test --all` fetches.
TEST(Wrap, RunsChecksOfDebian) {
    const std::string directory = SENTREL_REAL_CHECKS;
    if (::access((directory + "/check_disk").c_str(), X_OK) != 0) {
        GTEST_SKIP() << "there is no " << directory;
    }
    const Report disk = RunWrapped({directory + "/check_disk", "-w", "0%", "-c", "0%", "-p", "/"});
    EXPECT_EQ(disk.GetStatus(), Status::Ok) << disk.Reason();
    const std::string document = disk.ToJson(std::chrono::system_clock::now());
    EXPECT_EQ(::Test::ContractFault(document, "wrapped"), "");
    EXPECT_THAT(document, HasSubstr("\"/\":{\"value\":"));
    EXPECT_THAT(document, HasSubstr("\"min\":0,\"max\":"));
    const Report procs = RunWrapped({directory + "/check_procs", "-c", "100000:"});
    EXPECT_EQ(procs.GetStatus(), Status::Error) << procs.Reason();
}

}  // namespace
