// The publisher while others change its directory: it sees whole reports or none, and never waits.
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "store/publisher.h"
#include "store/report_roller.h"
#include "support/captured_log.h"
#include "support/host_directory.h"
#include "support/stored_report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using Pellmar::Ref;
using Pellmar::Service::Logger;
using Sentrel::kNoStartTime;
using Sentrel::Report;
using testing::SizeIs;
using testing::StartsWith;

// A report directory, what publishes it, and what that failed at.
struct InUse {
    Test::CapturedLog log;
    Test::HostDirectory host;
    std::string directory = host.ReportDirectory() + "/";
    Ref<Logger> logger = MakeLogger();
    Sentrel::Publisher publisher{directory, logger};

    static Ref<Logger> MakeLogger() {
        auto logger = Pellmar::MakeRef<Logger>("publisher", Ref<Logger>());
        logger->SetLevel(3);
        return logger;
    }
};

// A document whose text is as long as its number wants, of the one letter that it wants.
std::string NumberedDocument(const std::string& name, int number) {
    const std::string text(static_cast<std::size_t>(number * 997 % 70000),
                           static_cast<char>('a' + number % 26));
    return R"({"structured":{"name":")" + name + R"(","time":"t","status":)" +
           std::to_string(number) + R"(},"unstructured":")" + text + R"("})";
}

TEST(PublisherInUse, SeesWholeReportsWhileTheyAreStored) {
    constexpr int kReports = 300;
    const InUse store;
    std::atomic<int> running{2};
    const auto writeReports = [&](const std::string& name) {
        const auto roller =
            Pellmar::MakeRef<Sentrel::ReportRoller>(store.directory, name, 3, store.logger);
        for (int number = 1; number <= kReports; ++number) {
            Ref<Pellmar::System::FileWriter> writer;
            Ref<Pellmar::System::File> file;
            const std::string document = NumberedDocument(name, number);
            ASSERT_TRUE(roller->OpenTemporaryReport(writer, file));
            writer->Write(document.data(), document.size());
            writer->Close();
            roller->Rotate(file);
        }
        --running;
    };
    std::thread cpu(writeReports, "cpu");
    std::thread mem(writeReports, "mem");
    std::vector<Report> reports;
    for (bool isLast = false; !isLast;) {
        isLast = running == 0;
        reports = store.publisher.GetReports({}, {}, kNoStartTime);
        for (const Report& report : reports) {
            const std::string whole = NumberedDocument(report.name, report.status);
            EXPECT_TRUE(whole.ends_with(":" + report.unstructured + "}")) << report.status;
        }
        EXPECT_LE(store.publisher.ListReportFiles({"cpu"}).size(), 1U);
    }
    cpu.join();
    mem.join();
    ASSERT_THAT(reports, SizeIs(2));
    EXPECT_EQ(reports[0].status, kReports);
    EXPECT_EQ(reports[1].status, kReports);
    for (const std::string& line : store.log.Lines()) {  // a link was gone for an instant
        EXPECT_THAT(line, StartsWith("3 publisher: Error reading symlink: "));
    }
}

}  // namespace
