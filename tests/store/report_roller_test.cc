// The roller over real directories: the ring, its start on what is found on disk, and what stands
// in its way there, left behind by accident or planted.
#include "store/report_roller.h"

#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/pellmar/system/file.h"
#include "store/publisher.h"
#include "support/captured_log.h"
#include "support/host_directory.h"

#include <atomic>
#include <filesystem>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

namespace {

using Pellmar::Ref;
using Pellmar::Service::Logger;
using Sentrel::ReportRoller;
using Test::CapturedLog;
using Test::HostDirectory;
using Test::WriteFile;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;

constexpr int kFiles = 3;

// A report directory, and the log of what stores reports there.
struct Store {
    CapturedLog log;
    HostDirectory host;
    Ref<Logger> logger = Logger::CreateLogger(Logger::sDefaultLogger, "SentrelHandler");

    std::string Directory() const { return host.ReportDirectory() + "/"; }
    std::string PathOf(std::string_view fileName) const { return host.ReportPath(fileName); }

    Ref<ReportRoller> MakeRoller(std::string_view name = "cpu") const {
        return Pellmar::MakeRef<ReportRoller>(Directory(), name, kFiles, logger);
    }

    // What the roller has logged at level 3; the framework may have told the system's reason.
    std::vector<std::string> Failures() const {
        std::vector<std::string> lines = log.Lines();
        std::erase_if(
            lines, [](const std::string& line) { return !line.starts_with("3 SentrelHandler: "); });
        return lines;
    }
};

// An open temporary report.
struct OpenReport {
    Ref<Pellmar::System::FileWriter> writer;
    Ref<Pellmar::System::File> file;
};

OpenReport Open(ReportRoller& roller) {
    OpenReport report;
    EXPECT_TRUE(roller.OpenTemporaryReport(report.writer, report.file));
    return report;
}

void Write(const OpenReport& report, std::string_view body) {
    report.writer->Write(body.data(), body.size());
    report.writer->Close();
}

// Stores one report; the name of its file.
std::string StoreReport(ReportRoller& roller, std::string_view body) {
    const OpenReport report = Open(roller);
    Write(report, body);
    roller.Rotate(report.file);
    return std::string(report.file->GetName().substr(1));
}

// A document whose text is as long as its number wants, of the one letter that it wants.
std::string NumberedDocument(const std::string& name, int number) {
    const std::string text(static_cast<std::size_t>(number * 997 % 70000),
                           static_cast<char>('a' + number % 26));
    return R"({"structured":{"name":")" + name + R"(","time":"t","status":)" +
           std::to_string(number) + R"(},"unstructured":")" + text + R"("})";
}

TEST(ReportRoller, ShowsThePublisherWholeReportsOnly) {
    constexpr int kReports = 300;
    const Store store;
    store.logger->SetLevel(3);
    const Sentrel::Publisher publisher(store.Directory(), store.logger);
    std::atomic<int> running{2};
    const auto writeReports = [&](const std::string& name) {
        const Ref<ReportRoller> roller = store.MakeRoller(name);
        for (int number = 1; number <= kReports; ++number) {
            StoreReport(*roller, NumberedDocument(name, number));
        }
        --running;
    };
    std::thread cpu(writeReports, "cpu");
    std::thread mem(writeReports, "mem");
    std::vector<Sentrel::Report> reports;
    for (bool isLast = false; !isLast;) {
        isLast = running == 0;
        reports = publisher.GetReports({}, {}, Sentrel::kNoStartTime);
        for (const Sentrel::Report& report : reports) {
            const std::string whole = NumberedDocument(report.name, report.status);
            EXPECT_TRUE(whole.ends_with(":" + report.unstructured + "}")) << report.status;
        }
        EXPECT_LE(publisher.ListReportFiles({"cpu"}).size(), 1U);
    }
    cpu.join();
    mem.join();
    ASSERT_EQ(reports.size(), 2U);
    EXPECT_EQ(reports[0].status, kReports);
    EXPECT_EQ(reports[1].status, kReports);
    for (const std::string& line : store.log.Lines()) {  // a link was gone for an instant
        EXPECT_THAT(line, StartsWith("3 SentrelHandler: Error reading symlink: "));
    }
}

TEST(ReportRoller, ContinuesAfterTheHighestIndexOnRestart) {
    const struct {
        std::string name;
        std::vector<std::string> present;
        std::string next;
    } rows[] = {
        {"cpu", {}, "cpu-0.json"},
        {"cpu", {"cpu-0.json"}, "cpu-1.json"},
        {"cpu", {"cpu-1.json"}, "cpu-2.json"},
        {"cpu", {"cpu-0.json", "cpu-1.json", "cpu-2.json"}, "cpu-0.json"},
        {"cpu", {"cpu-1.json", "cpu-7.json"}, "cpu-0.json"},
        {"cpu", {"cpu-2.json", "cpu-9.json"}, "cpu-0.json"},
        {"cpu", {"cpu-10.json", ".cpu-1.json", "mem-1.json", "cpu-1.jso"}, "cpu-0.json"},
        {"a.b", {"aXb-1.json"}, "a.b-2.json"},
        {"a.b", {"a.b-0.json", "aXb-1.json"}, "a.b-2.json"},
        {"aXb", {"a.b-1.json"}, "aXb-0.json"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name + " among " + testing::PrintToString(row.present));
        const Store store;
        for (const std::string& fileName : row.present) {
            WriteFile(store.PathOf(fileName), "old");
        }
        EXPECT_EQ(StoreReport(*store.MakeRoller(row.name), "new"), row.next);
        EXPECT_EQ(store.host.Report(row.name), "new");
    }
}

TEST(ReportRoller, CountsOnlyFilesOnRestart) {
    const Store store;
    WriteFile(store.PathOf("cpu-0.json"), "old");
    std::filesystem::create_directory(store.PathOf("cpu-1.json"));
    std::filesystem::create_symlink(store.PathOf("cpu-0.json"), store.PathOf("cpu-2.json"));
    EXPECT_EQ(Open(*store.MakeRoller()).file->GetName(), ".cpu-1.json");
}

TEST(ReportRoller, ListsTheDirectoryOnceAndNeverReadsTheLink) {
    const Store store;
    StoreReport(*store.MakeRoller(), "first");
    std::filesystem::remove(store.PathOf("cpu.json"));
    std::filesystem::create_symlink(store.PathOf("elsewhere"), store.PathOf("cpu.json"));
    const Ref<ReportRoller> restarted = store.MakeRoller();
    EXPECT_EQ(StoreReport(*restarted, "second"), "cpu-1.json");
    WriteFile(store.PathOf("cpu-0.json"), "planted");
    EXPECT_EQ(StoreReport(*restarted, "third"), "cpu-2.json");
    EXPECT_EQ(store.host.Report("cpu"), "third");
}

TEST(ReportRoller, UsesUpTheIndexOfAFileThatCannotBeCreated) {
    const Store store;
    const Ref<ReportRoller> roller = store.MakeRoller();
    StoreReport(*roller, "first");
    std::filesystem::create_directory(store.PathOf(".cpu-1.json"));

    OpenReport report;
    EXPECT_FALSE(roller->OpenTemporaryReport(report.writer, report.file));
    EXPECT_THAT(store.Failures(), ElementsAre(AllOf(StartsWith("3 SentrelHandler: Caught "),
                                                    EndsWith(" while attempting to create file: " +
                                                             store.PathOf(".cpu-1.json")))));
    EXPECT_EQ(store.host.Report("cpu"), "first");
    EXPECT_EQ(StoreReport(*roller, "next"), "cpu-2.json");
}

TEST(ReportRoller, KeepsTheLinkWhenTheNewReportIsGone) {
    const Store store;
    const Ref<ReportRoller> roller = store.MakeRoller();
    StoreReport(*roller, "first");
    const OpenReport report = Open(*roller);
    Write(report, "second");
    std::filesystem::remove(store.PathOf(".cpu-1.json"));
    roller->Rotate(report.file);
    EXPECT_THAT(store.Failures(), ElementsAre("3 SentrelHandler: File object not present: " +
                                              store.PathOf(".cpu-1.json")));
    EXPECT_EQ(store.host.Report("cpu"), "first");
    EXPECT_EQ(StoreReport(*roller, "third"), "cpu-2.json");
}

}  // namespace
