// Documents and what becomes of them: the record, or the one line that says why there is none.
#include "store/report.h"

#include "support/captured_log.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <climits>
#include <string>
#include <string_view>
#include <tuple>

namespace {

using Sentrel::ParseReportText;
using Sentrel::Report;
using Test::CapturedLog;
using std::string_literals::operator""s;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

using Fields = std::tuple<std::string, std::string, int, std::string>;

const Fields kPrevious{"old", "then", 4, "{}"};

// The record that held kPrevious before.
Fields Converted(std::string_view text) {
    const auto& [name, time, status, unstructured] = kPrevious;
    Report report{name, time, status, unstructured};
    Sentrel::ReportFromJson(ParseReportText(text), report);
    return {report.name, report.time, report.status, report.unstructured};
}

// A document with that status, as JSON text.
std::string WithStatus(const std::string& status) {
    return R"({"structured":{"name":"n","time":"t","status":)" + status + R"(},"unstructured":0})";
}

std::string Nested(std::size_t levels) {
    return std::string(levels, '[') + std::string(levels, ']');
}

std::string ParseFault(const std::string& text) {
    try {
        (void)ParseReportText(text);
        return "";
    } catch (const nlohmann::json::exception& exception) {
        return exception.what();
    }
}

TEST(ReportDocument, FillsTheRecord) {
    const CapturedLog log;
    const struct {
        std::string text;
        Fields fields;
    } rows[] = {
        {R"({"structured": {"name": "cpu", "time": "2024-03-05T14:07:09+00:00"},
             "unstructured": {"b": 1, "a": [true, null]}})",
         {"cpu", "2024-03-05T14:07:09+00:00", 3, R"({"a":[true,null],"b":1})"}},
        {R"({"more":1,"unstructured":"a\u00e9","structured":{"x":[],"name":"","time":"\n"}})",
         {"", "\n", 3, "\"a\xC3\xA9\""}},
        {R"({"structured":{"name":"a","name":"b","time":"t"},"unstructured":null})",
         {"b", "t", 3, "null"}},
        {"\xEF\xBB\xBF" + WithStatus("1") + " \r\n\t", {"n", "t", 1, "0"}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Converted(row.text), row.fields) << row.text;
    }
    EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(ReportDocument, AcceptsAnyNumberAsStatus) {
    const struct {
        std::string number;
        int status;
    } rows[] = {
        {"0", 0},
        {"-1", -1},
        {"2.7", 2},
        {"-2.7", -2},
        {"1e1", 10},
        {"1e300", INT_MAX},
        {"-1e300", INT_MIN},
        {"2147483648", INT_MIN},
        {"4294967298", 2},
        {"18446744073709551615", -1},
        {"18446744073709551616", INT_MAX},  // a double to the library
    };
    for (const auto& row : rows) {
        EXPECT_EQ(std::get<int>(Converted(WithStatus(row.number))), row.status) << row.number;
    }
}

TEST(ReportDocument, IsRefusedForItsFirstFault) {
    const struct {
        std::string text;
        std::string fault;
    } rows[] = {
        {"[]", "type_error.304] cannot use at() with array"},
        {"{}", "out_of_range.403] key 'structured' not found"},
        {R"({"structured":{}})", "out_of_range.403] key 'name' not found"},
        {R"({"structured":{"name":"n"}})", "out_of_range.403] key 'time' not found"},
        {R"({"structured":{"name":"n","time":null}})",
         "type_error.302] type must be string, but is null"},
        {WithStatus("true"), "type_error.302] type must be number, but is boolean"},
        {WithStatus("\"1\""), "type_error.302] type must be number, but is string"},
        {R"({"structured":{"name":"n","time":"t"}})",
         "out_of_range.403] key 'unstructured' not found"},
    };
    for (const auto& row : rows) {
        const CapturedLog log;
        EXPECT_EQ(Converted(row.text), kPrevious) << row.text;
        EXPECT_THAT(log.Lines(),
                    ElementsAre("3 sentrel: JSON parse error: [json.exception." + row.fault));
    }
}

TEST(ReportText, IsRefusedWithTheLibrarysReason) {
    std::string flat = "[[]";
    for (int i = 0; i < 1000; ++i) {
        flat += ",{}";
    }
    const std::string parse = "[json.exception.parse_error.101] parse error at ";
    const struct {
        std::string text;
        std::string start;  // of the exception's text; empty: there is none
        std::string end;
    } rows[] = {
        {" ",
         parse + "line 1, column 2: ", "unexpected end of input; expected '[', '{', or a literal"},
        {"{} {}", parse + "line 1, column 4: ", "unexpected '{'; expected end of input"},
        {"// no\n{}", parse + "line 1, column 1: ", "last read: '/'"},
        {"[\"\xFF\"]", parse + "line 1, column 3: ", "ill-formed UTF-8 byte; last read: '\"\xFF'"},
        {"1e999", "[json.exception.out_of_range.406] ", "number overflow parsing '1e999'"},
        {"{}\0"s, parse + "byte 3: ", "unexpected NUL byte; expected end of input"},
        {Nested(257), parse + "byte 257: ", "nested deeper than 256 levels"},
        {std::string(1'000'000, '['), parse + "byte 257: ", "nested deeper than 256 levels"},
        {std::string(300, '[') + '\0', parse + "byte 257: ", "nested deeper than 256 levels"},
        {"]" + Nested(300), parse + "line 1, column 1: ", "or a literal"},  // the earlier fault
        {Nested(256), "", ""},
        {flat + "]", "", ""},
        {'"' + std::string(1000, '[') + '"', "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text.substr(0, 40));
        const std::string fault = ParseFault(row.text);
        EXPECT_EQ(fault.empty(), row.end.empty());
        EXPECT_THAT(fault, AllOf(StartsWith(row.start), EndsWith(row.end)));
    }
    // Newer versions of the library have a sentence of their own for this.
    EXPECT_THAT(ParseFault(""), StartsWith(parse + "line 1, column 1: "));
}

}  // namespace
