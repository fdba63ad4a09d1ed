// Reports: the status that follows from findings, its words, and the document.
#include "sentrel_check/report.h"
#include "ctl/post/check.h"

#include "sentrel_check/json_text.h"
#include "support/report_contract.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <chrono>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>

namespace {

using SentrelCheck::Bad;
using SentrelCheck::JsonNumber;
using SentrelCheck::JsonString;
using SentrelCheck::Limits;
using SentrelCheck::Report;
using SentrelCheck::Status;

TEST(Report, JudgesByLimits) {
    const struct {
        double value;
        Limits limits;
        Bad bad;
        Status status;
        const char* reason;
    } rows[] = {
        {19.99, {20, 50}, Bad::High, Status::Ok, "no problems found"},
        {20, {20, 50}, Bad::High, Status::Warning, "it 20 % is at or above 20 %"},
        {50, {20, 50}, Bad::High, Status::Error, "it 50 % is at or above 50 %"},
        {50, {50, 50}, Bad::High, Status::Error, "it 50 % is at or above 50 %"},
        {50, {20, std::nullopt}, Bad::High, Status::Warning, "it 50 % is at or above 20 %"},
        {50, {std::nullopt, std::nullopt}, Bad::High, Status::Ok, "no problems found"},
        {10, {10, 5}, Bad::Low, Status::Ok, "no problems found"},
        {9.999, {10.5, 5}, Bad::Low, Status::Warning, "it 10 % is below 10.5 %"},
        {3.1, {10, 5}, Bad::Low, Status::Error, "it 3.1 % is below 5 %"},
    };
    for (const auto& row : rows) {
        Report report("cpu");
        report.Judge("it", {"metric", row.value, "%", row.limits}, row.bad);
        EXPECT_EQ(report.GetStatus(), row.status) << row.reason;
        EXPECT_EQ(report.Reason(), row.reason);
    }
}

TEST(Report, HasTheWorstStatusAndReasonFirst) {
    Report report("cpu");
    report.Summarize("all is well");
    EXPECT_EQ(report.Reason(), "all is well");
    report.Find(Status::None, "no such thing");
    EXPECT_EQ(report.GetStatus(), Status::None);
    report.Find(Status::Unknown, "who knows");
    EXPECT_EQ(report.GetStatus(), Status::Unknown);
    report.Find(Status::Warning, "careful");
    EXPECT_EQ(report.GetStatus(), Status::Warning);
    report.Find(Status::Error, "broken");
    report.Find(Status::Warning, "watch out");
    EXPECT_EQ(report.GetStatus(), Status::Error);
    EXPECT_EQ(report.Reason(), "broken; careful; watch out; who knows; no such thing");
}

TEST(Report, BecomesTheDocument) {
    Report report("cpu");
    report.AddText("model", "a \"b\"\n\x01\xFF");
    report.AddMetric({"plain", 7, ""});
    report.Judge("pressure", {"pressure", 82.5, "%", {50, 80}}, Bad::High);
    const auto time = std::chrono::system_clock::from_time_t(1709647629);
    EXPECT_EQ(report.ToJson(time),
              R"({"structured":{"name":"cpu","time":"2024-03-05T14:07:09+00:00","status":2},)"
              R"("unstructured":{"reason":"pressure 82.5 % is at or above 80 %",)"
              R"("model":"a \"b\"\u000a\u0001)"
              "\xEF\xBF\xBD"
              R"(","metrics":{"plain":{"value":7},)"
              R"("pressure":{"value":82.5,"unit":"%","warning":50,"critical":80}}}})");
    EXPECT_EQ(::Test::ContractFault(report.ToJson(time), "cpu"), "");
}

TEST(Report, RefusesMetricsThatJsonCannotExpress) {
    Report report("cpu");
    EXPECT_THROW(report.AddMetric({"m", std::numeric_limits<double>::infinity(), ""}),
                 std::invalid_argument);
    EXPECT_THROW(report.AddMetric({"m", std::numeric_limits<double>::quiet_NaN(), ""}),
                 std::invalid_argument);
}

TEST(JsonText, HoldsAnyBytes) {
    const std::string bad = "\xEF\xBF\xBD";
    const struct {
        std::string text;
        std::string value;  // after parsing
    } rows[] = {
        {"", ""},
        {"/srv/\"a\\b\"", "/srv/\"a\\b\""},
        {std::string("\0\t\x1F\x7F", 4), std::string("\0\t\x1F\x7F", 4)},
        {"caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80", "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"},
        {"\xE9t\xE9", bad + "t" + bad},               // Latin-1
        {"\xC0\xAF", bad + bad},                      // overlong
        {"\xE0\x80\x80", bad + bad + bad},            // overlong
        {"\xED\xA0\x80", bad + bad + bad},            // a surrogate
        {"\xF4\x90\x80\x80", bad + bad + bad + bad},  // beyond U+10FFFF
        {"a\xE2\x82", "a" + bad + bad},               // cut off
    };
    for (const auto& row : rows) {
        EXPECT_EQ(nlohmann::json::parse(JsonString(row.text)).get<std::string>(), row.value)
            << testing::PrintToString(row.text);
    }
}

TEST(JsonText, KeepsNumbers) {
    for (const double value : {0.0, -1.0, 0.1, 100000.0, 1e15, 1e300, 5e-324, 9007199254740993.0}) {
        EXPECT_EQ(nlohmann::json::parse(JsonNumber(value)).get<double>(), value);
    }
    EXPECT_EQ(JsonNumber(100000), "100000");
}

}  // namespace
