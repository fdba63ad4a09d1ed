#include "checks/fixture_host.h"
#include "ctl/post/check.h"

#include "support/host_directory.h"
#include "support/report_contract.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

namespace Test {

namespace {

namespace fs = std::filesystem;

std::string ToJson(const SentrelCheck::Report& report) {
    return report.ToJson(std::chrono::system_clock::now());
}

}  // namespace

FixtureHost::FixtureHost(const HostFiles& files) {
    for (const auto& [path, text] : files) {
        const fs::path file = Root() + path;
        fs::create_directories(file.parent_path());
        if (path.back() != '/') {
            WriteFile(file, text);
        }
    }
}

std::string FixtureHost::Root() const {
    return directory.Path().substr(0, directory.Path().size() - 1);
}

SentrelCheck::Report ReportOf(const CheckOfRoot& check, const HostFiles& files,
                              const std::string& settings) {
    const FixtureHost host(With(files, {{"/settings.json", settings}}));
    SentrelCheck::Settings read(host.Root() + "/settings.json");
    SentrelCheck::Report report("check");
    check(host.Root(), read, report);
    return report;
}

void ExpectOutcomes(const CheckOfRoot& check, const std::vector<CheckRow>& rows) {
    for (const CheckRow& row : rows) {
        const SentrelCheck::Report report = ReportOf(check, row.files, row.settings);
        EXPECT_EQ(report.GetStatus(), row.status) << row.what;
        EXPECT_EQ(report.Reason(), row.reason) << row.what;
        EXPECT_EQ(ContractFault(ToJson(report), "check"), "") << row.what;
    }
}

void ExpectSurvivesDamage(const CheckOfRoot& check, const HostFiles& files,
                          const std::vector<HostFiles>& changes) {
    const std::string rubbish =
        std::string("\xFF\0\n-1 99999999999999999999 nan\n", 30) + std::string(100'000, 'x');
    for (const auto& [path, text] : files) {
        const std::vector<HostFiles> damaged = {
            With(files, {{path, ""}}),
            With(files, {{path, "\n"}}),
            With(files, {{path, text.substr(0, text.size() / 2) + " "}}),
            With(files, {{path, rubbish}}),
            With(files, {{path, ""}, {path + "/", "a directory"}}),
        };
        for (const HostFiles& host : damaged) {
            const SentrelCheck::Report report = ReportOf(check, host);
            EXPECT_EQ(ContractFault(ToJson(report), "check"), "") << path;
        }
    }
    for (const HostFiles& change : changes) {
        EXPECT_EQ(ReportOf(check, With(files, change)).GetStatus(), SentrelCheck::Status::Unknown)
            << change.begin()->first << ": " << change.begin()->second;
    }
}

HostFiles With(HostFiles files, const HostFiles& changes) {
    for (const auto& [path, text] : changes) {
        files[path] = text;
        if (text.empty()) {
            files.erase(path);
        }
    }
    return files;
}

}  // namespace Test
