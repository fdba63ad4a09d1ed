// The reports service over real report directories: what each call answers and logs.
#include "quon/reports/reports_impl.h"

#include "platform/bindings/reports_svc.h"
#include "platform/pellmar/log/logger.h"
#include "quon/reports/result_builders.h"
#include "store/publisher.h"
#include "support/captured_log.h"
#include "support/stored_report.h"
#include "support/temporary_directory.h"

#include <cstdint>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <gmock/gmock.h>

namespace Com::Korvex::Oru::Observability::ReportsSvc {
namespace {

using Pellmar::Service::Logger;
using ::Test::ReportText;
using testing::ElementsAre;
using testing::StartsWith;

std::string Text(const Summary& summary) {
    return summary.name + " " + summary.time.ToString() +
           (summary.status ? " " + std::to_string(static_cast<int>(*summary.status)) : "") +
           (summary.unstructured ? " " + *summary.unstructured : "");
}

// The service over a report directory of its own, and the log.
struct Reports {
    ::Test::TemporaryDirectory directory;
    ::Test::CapturedLog log;
    Pellmar::Ref<Logger> logger = Logger::CreateLogger(Logger::sDefaultLogger, "endpoint");
    ReportsImpl service{logger, std::make_shared<Sentrel::Publisher>(directory.Path(), logger)};

    // The file is a minute older than the report says by default.
    void Store(std::string_view link, const ReportText& text) const {
        constexpr std::time_t kStored = 1709647569;
        ::Test::SetModified(::Test::StoreReport(directory.Path(), link, text.Document()), kStored);
    }

    // The fields of the answer, or the name and the type of the error.
    std::string Get(const std::string& name) {
        std::string text;
        service.Get(name, {}, ::Quon::AsyncResult<std::shared_ptr<const Info>>([&](auto outcome) {
                        if (const auto* error = std::get_if<::Quon::Data::ErrorValue>(&outcome)) {
                            const auto* type = error->Structure().Find("errorType");
                            text += error->Name() + " " + *type->template As<std::string>();
                            return;
                        }
                        const Info& info = *std::get<0>(outcome);
                        text += Text(Summary{"", info.time, info.status, info.unstructured});
                    }));
        return text;
    }

    std::vector<std::string> ListFully() {
        std::vector<std::string> texts;
        const auto receive = [&texts](auto outcome) {
            for (const auto& summary : std::get<0>(outcome)->reports) {
                texts.push_back(Text(*summary));
            }
        };
        service.List({}, DetailLevel::FULL, {},
                     ::Quon::AsyncResult<std::shared_ptr<const ListResult>>(receive));
        return texts;
    }

    // What the service wrote, each "LEVEL MESSAGE".
    std::vector<std::string> Lines() const {
        constexpr std::string_view kName = "ReportsImpl: ";
        std::vector<std::string> lines;
        for (const std::string& line : log.Lines()) {
            if (line.substr(2).starts_with(kName)) {
                lines.push_back(line.substr(0, 2) + line.substr(2 + kName.size()));
            }
        }
        return lines;
    }
};

TEST(ReportsImpl, ReportsWhyItCannotGetAReport) {
    const struct {
        const char* name;
        const char* error;
        const char* line;
    } rows[] = {
        {"", "not_found NOT_FOUND", "3 Report not found: empty report name"},
        {"disk", "not_found NOT_FOUND", "3 disk report not found."},
        {"cpu", "error ERROR", "3 multiple reports found: 2"},
        {"mem", "error ERROR",
         "3 Error converting report mem creation time: yesterday to Quon Datetime: "
         "1970-01-01T00:00:00.000Z. "},
    };
    for (const auto& row : rows) {
        Reports reports;
        reports.Store("cpu", {.time = "yesterday"});
        reports.Store("sub/cpu", {.time = "yesterday"});
        reports.Store("mem", {.name = "mem", .time = "yesterday"});
        EXPECT_EQ(reports.Get(row.name), std::string("com.korvex.quon.std.errors.") + row.error);
        EXPECT_THAT(reports.Lines(), ElementsAre(StartsWith("7 Get() "), StartsWith(row.line)));
        EXPECT_EQ(reports.log.Contains("Checking file"), *row.name != '\0') << "publisher asked";
    }
}

TEST(ReportsImpl, DeliversNoPartOfAnAbandonedListing) {
    Reports reports;
    reports.Store("cpu", {.name = "cpu"});
    reports.Store("memory", {.name = "memory"});
    ::Quon::CallContext context;
    int asked = 0;
    context.isAbandoned = [&asked] { return ++asked > 1; };
    bool isError = false;
    reports.service.List({}, DetailLevel::FULL, context,
                         ::Quon::AsyncResult<std::shared_ptr<const ListResult>>(
                             [&](auto outcome) { isError = outcome.index() == 1; }));
    EXPECT_TRUE(isError);
}

TEST(ReportsImpl, LeavesReportsWithoutATimeOutOfListings) {
    Reports reports;
    reports.Store("cpu", {.unstructured = "1"});
    reports.Store("mem", {.name = "mem", .time = std::string(100'000, '2')});
    EXPECT_THAT(reports.ListFully(), ElementsAre("cpu 2024-03-05T14:07:09.000Z 0 1"));
    EXPECT_THAT(reports.Lines(),
                ElementsAre("7 List() invoked", "7 Reports retrieved by Publisher: 2",
                            StartsWith("3 Error converting report mem creation time: " +
                                       std::string(1024, '2') +
                                       " to Quon Datetime: 1970-01-01T00:00:00.000Z. ")));

    // No file system here holds such a time of a file.
    const auto brief = BuildBriefListing({{"cpu", "/cpu-0.json", "10000-01-01T00:00:00+00:00"},
                                          {"mem", "/mem-0.json", "2024-03-05T14:07:09+00:00"}},
                                         reports.logger);
    ASSERT_EQ(brief->reports.size(), 1U);
    EXPECT_EQ(Text(*brief->reports.front()), "mem 2024-03-05T14:07:09.000Z");
    EXPECT_TRUE(
        reports.log.Contains("Error converting report cpu modified time: "
                             "10000-01-01T00:00:00+00:00 to Quon Datetime: "
                             "1970-01-01T00:00:00.000Z. "));
}

TEST(ReportsImpl, MapsUnknownStatusCodesToUnknown) {
    const std::pair<std::int64_t, int> rows[] = {{0, 0}, {1, 1}, {2, 2},  {3, 3},
                                                 {4, 4}, {7, 4}, {-1, 4}, {INT32_MIN, 4}};
    for (const auto& [code, status] : rows) {
        Reports reports;
        reports.Store("cpu", {.status = code, .unstructured = "1"});
        EXPECT_EQ(reports.Get("cpu"), " 2024-03-05T14:07:09.000Z " + std::to_string(status) + " 1");
    }
}

}  // namespace
}  // namespace Com::Korvex::Oru::Observability::ReportsSvc
