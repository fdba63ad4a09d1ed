// The reports service over real report directories: what each call answers and logs.
#include "quon/reports/reports_impl.h"

#include "platform/bindings/reports_svc.h"
#include "platform/pellmar/logger.h"
#include "platform/pellmar/object.h"
#include "platform/runtime/async_result.h"
#include "platform/runtime/call.h"
#include "quon/reports/result_builders.h"
#include "store/publisher.h"
#include "support/captured_log.h"
#include "support/stored_report.h"
#include "support/temporary_directory.h"

#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Com::Korvex::Oru::Observability::ReportsSvc {
namespace {

using Pellmar::Ref;
using Pellmar::Service::Logger;
using ::Test::ReportText;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using testing::UnorderedElementsAreArray;

constexpr std::time_t kStored = 1709647629;  // 2024-03-05T14:07:09Z

std::string Text(const Info& info) {
    return info.time.ToString() + " " + std::to_string(static_cast<int>(info.status)) + " " +
           info.unstructured;
}

std::string Text(const Summary& summary) {
    std::string text = summary.name + " " + summary.time.ToString();
    if (summary.status) {
        text += " " + std::to_string(static_cast<int>(*summary.status));
    }
    return summary.unstructured ? text + " " + *summary.unstructured : text;
}

// The one outcome of an operation that has returned.
template <typename T>
class Answer {
  public:
    ::Quon::AsyncResult<std::shared_ptr<const T>> Result() {
        return ::Quon::AsyncResult<std::shared_ptr<const T>>([this](auto delivered) {
            EXPECT_FALSE(outcome) << "delivered twice";
            outcome = std::move(delivered);
        });
    }
    const T& Value() const { return *std::get<std::shared_ptr<const T>>(outcome.value()); }
    // The error's name and fields, empty when there is a value.
    std::string ErrorText() const {
        const auto* const error = std::get_if<::Quon::Data::ErrorValue>(&outcome.value());
        if (error == nullptr) {
            return {};
        }
        std::string text = error->Name();
        for (const ::Quon::Data::FieldValue& field : error->Structure().Fields()) {
            const auto* const word = field.value.template As<std::string>();
            text += " " + field.name + "=" + (word != nullptr ? *word : "");
        }
        return text;
    }

  private:
    std::optional<::Quon::Outcome<std::shared_ptr<const T>>> outcome;
};

// The service over a report directory of its own, and the log.
struct Reports {
    ::Test::TemporaryDirectory directory;
    ::Test::CapturedLog log;
    Ref<Logger> logger = Logger::CreateLogger(Logger::sDefaultLogger, "sentrelquonEndpoint");
    ReportsImpl service{logger, std::make_shared<Sentrel::Publisher>(directory.Path(), logger)};

    void Store(std::string_view link, const ReportText& text) const {
        ::Test::SetModified(::Test::StoreReport(directory.Path(), link, text.Document()), kStored);
    }

    std::vector<std::string> List(const std::optional<FilterSpec>& filter = {},
                                  std::optional<DetailLevel> detail = {}) {
        Answer<ListResult> answer;
        service.List(filter, detail, {}, answer.Result());
        std::vector<std::string> texts;
        for (const std::shared_ptr<const Summary>& summary : answer.Value().reports) {
            texts.push_back(Text(*summary));
        }
        return texts;
    }

    // What the service wrote, each "LEVEL MESSAGE".
    std::vector<std::string> Lines() const {
        std::vector<std::string> lines;
        for (const std::string& line : log.Lines()) {
            constexpr std::string_view kName = "ReportsImpl: ";
            if (line.substr(2).starts_with(kName)) {
                lines.push_back(line.substr(0, 2) + line.substr(2 + kName.size()));
            }
        }
        return lines;
    }
};

TEST(ReportsImpl, GetsTheNewestReportOfAName) {
    Reports reports;
    reports.Store("cpu", {.time = "2024-03-05T15:07:09.5+01:00", .unstructured = R"(["x"])"});
    reports.Store("mem", {.name = "mem"});
    Answer<Info> answer;

    reports.service.Get("CPU", {}, answer.Result());

    EXPECT_EQ(Text(answer.Value()), R"(2024-03-05T14:07:09.500Z 0 ["x"])");
    EXPECT_THAT(reports.Lines(), ElementsAre("7 Get() operation invoked for CPU report."));
}

TEST(ReportsImpl, SaysWhyItCannotGetAReport) {
    const struct {
        const char* name;
        const char* error;
        const char* line;
    } rows[] = {
        {"", "not_found messages= errorType=NOT_FOUND", "3 Report not found: empty report name"},
        {"disk", "not_found messages= errorType=NOT_FOUND", "3 disk report not found."},
        {"cpu", "error messages= errorType=ERROR", "3 multiple reports found: 2"},
        {"mem", "error messages= errorType=ERROR",
         "3 Error converting report mem creation time: yesterday to Quon Datetime: "
         "1970-01-01T00:00:00.000Z. "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        Reports reports;
        reports.Store("cpu", {.time = "yesterday"});
        reports.Store("sub/cpu", {.time = "yesterday"});
        reports.Store("mem", {.name = "mem", .time = "yesterday"});
        Answer<Info> answer;

        reports.service.Get(row.name, {}, answer.Result());

        EXPECT_EQ(answer.ErrorText(), std::string("com.korvex.quon.std.errors.") + row.error);
        EXPECT_THAT(reports.Lines(), ElementsAre(StartsWith("7 Get() "), StartsWith(row.line)));
        EXPECT_EQ(reports.log.Contains("Checking file"), *row.name != '\0') << "publisher asked";
    }
}

TEST(ReportsImpl, ListsByFilterAndDetail) {
    const std::string cpu = "cpu 2024-03-05T14:07:09.000Z";
    const std::string mem = "mem 2024-03-05T14:07:09.000Z";
    const std::string fullCpu = "cpu 2020-01-01T00:00:00.000Z 1 1";
    const std::string fullMem = "mem 2020-01-01T00:00:00.000Z 2 2";
    const FilterSpec noNames;
    const FilterSpec emptyNames{.names = std::set<std::string>{}};
    const FilterSpec someNames{.names = std::set<std::string>{"CPU", "disk"}};
    const struct {
        const char* name;
        std::optional<FilterSpec> filter;
        std::optional<DetailLevel> detail;
        std::vector<std::string> listing;
    } rows[] = {
        {"nothing given", {}, {}, {cpu, mem}},
        {"brief", noNames, DetailLevel::BRIEF, {cpu, mem}},
        {"brief, names", someNames, {}, {cpu}},
        {"full", {}, DetailLevel::FULL, {fullCpu, fullMem}},
        {"full, empty set", emptyNames, DetailLevel::FULL, {fullCpu, fullMem}},
        {"full, names", someNames, DetailLevel::FULL, {fullCpu}},
    };
    Reports reports;
    EXPECT_THAT(reports.List(), IsEmpty());
    EXPECT_THAT(reports.List({}, DetailLevel::FULL), IsEmpty());
    reports.Store("cpu", {.time = "2020-01-01T00:00:00Z", .status = 1, .unstructured = "1"});
    reports.Store("mem", {"mem", "2020-01-01T00:00:00Z", 2, "2"});
    for (const auto& row : rows) {
        EXPECT_THAT(reports.List(row.filter, row.detail), UnorderedElementsAreArray(row.listing))
            << row.name;
    }
}

TEST(ReportsImpl, LeavesReportsWithoutATimeOutOfTheFullListing) {
    Reports reports;
    reports.Store("cpu", {.unstructured = "1"});
    reports.Store("mem", {.name = "mem", .time = "2024-02-30T00:00:00Z"});

    EXPECT_THAT(reports.List({}, DetailLevel::FULL),
                ElementsAre("cpu 2024-03-05T14:07:09.000Z 0 1"));
    EXPECT_THAT(reports.Lines(),
                ElementsAre("7 List() invoked", "7 Reports retrieved by Publisher: 2",
                            StartsWith("3 Error converting report mem creation time: "
                                       "2024-02-30T00:00:00Z to Quon Datetime: "
                                       "1970-01-01T00:00:00.000Z. ")));
}

// No file system here holds such a time.
TEST(ReportsImpl, LeavesFilesWithoutATimeOutOfTheBriefListing) {
    const Reports reports;
    const auto listing = BuildBriefListing({{"cpu", "/cpu-0.json", "10000-01-01T00:00:00+00:00"},
                                            {"mem", "/mem-0.json", "2024-03-05T14:07:09+00:00"}},
                                           reports.logger);
    ASSERT_EQ(listing->reports.size(), 1U);
    EXPECT_EQ(Text(*listing->reports.front()), "mem 2024-03-05T14:07:09.000Z");
    EXPECT_TRUE(
        reports.log.Contains("Error converting report cpu modified time: "
                             "10000-01-01T00:00:00+00:00 to Quon Datetime: "
                             "1970-01-01T00:00:00.000Z. "));
}

TEST(ReportsImpl, CarriesStatusCodesThroughUnknownOnesAsUnknown) {
    const struct {
        std::int64_t code;
        Status status;
    } rows[] = {{0, Status::OK},       {1, Status::WARNING},        {2, Status::ERROR},
                {3, Status::NONE},     {4, Status::UNKNOWN},        {5, Status::UNKNOWN},
                {-1, Status::UNKNOWN}, {INT32_MIN, Status::UNKNOWN}};
    for (const auto& row : rows) {
        Reports reports;
        reports.Store("cpu", {.status = row.code});
        Answer<Info> info;
        Answer<ListResult> listing;
        reports.service.Get("cpu", {}, info.Result());
        reports.service.List({}, DetailLevel::FULL, {}, listing.Result());
        EXPECT_EQ(info.Value().status, row.status) << row.code;
        EXPECT_EQ(listing.Value().reports.front()->status, row.status) << row.code;
    }
}

TEST(ReportsImpl, HoldsALongTextOnce) {
    const Ref<Logger>& logger = Logger::sDefaultLogger;
    Sentrel::Report one{"cpu", "2024-03-05T14:07:09Z", 0, std::string(1000, 'x')};
    std::vector<Sentrel::Report> many{one};
    const char* const oneText = one.unstructured.data();
    const char* const manyText = many.front().unstructured.data();
    EXPECT_EQ(BuildInfo(std::move(one), logger)->unstructured.data(), oneText);
    EXPECT_EQ(BuildFullListing(std::move(many), logger)->reports.front()->unstructured->data(),
              manyText);
}

}  // namespace
}  // namespace Com::Korvex::Oru::Observability::ReportsSvc
