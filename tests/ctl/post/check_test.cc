#include "ctl/post/check.h"

#include "ctl/post/json_schema.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <stdexcept>
#include <string>

namespace Test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string Document(const std::string& structured, const std::string& unstructured = "{}") {
    return R"({"structured":)" + structured + R"(,"unstructured":)" + unstructured + "}";
}

TEST(ReportCheck, AcceptsWhatTheDaemonPublishes) {
    for (const std::string& document : {
             Document(R"({"name":"cpu","time":"2024-03-05T14:07:09Z"})"),
             Document(R"({"name":"CPU","time":"2024-03-05T14:07:09.5-01:00","status":4})", "null"),
             Document(R"({"name":"cpu","time":"2024-03-05t14:07:09z","status":0,"more":1})",
                      R"({"metrics":{"a":1,"b":{"value":-1.5,"unit":"%","warning":null}}})"),
             Document(R"({"name":"cpu","time":"2024-03-05T14:07:09Z","status":2.0})",
                      R"({"reason":7})"),
         }) {
        EXPECT_THAT(Ctl::FindProblems(document, "cpu"), IsEmpty()) << document;
    }
}

TEST(ReportCheck, NamesEachProblem) {
    struct Row {
        std::string document;
        const char* problem;
    };
    const Row rows[] = {
        {"", "line 1, column 1"},
        {"{} {}", "line 1, column 4"},
        {std::string(1048577, ' '), "1048576"},
        {Document("{\"name\":\"cpu\",\"time\":\"2024-03-05T14:07:09Z\"}", "[01]"), "line 1"},
        {R"({"unstructured":1})", "structured is missing: add an object with \"name\""},
        {Document(R"({"name":"cpu"})"), "structured.time is missing: add a time with its zone"},
        {Document(R"({"name":"disk","time":"2024-03-05T14:07:09Z"})"),
         "structured.name is \"disk\", not \"cpu\""},
        {Document(R"({"name":1,"time":"2024-03-05T14:07:09Z"})"),
         "structured.name is 1, not a string"},
        {Document(R"({"name":"c\u0000u","time":"2024-03-05T14:07:09Z"})"),
         "structured.name is \"c\\u0000u\", not a string of letters"},
        {Document("{\"name\":\"" + std::string(1000000, 'a') +
                  "\",\"time\":\"2024-03-05T14:07:09Z\"}"),
         "aaa..., not \"cpu\""},
        {Document(R"({"name":"cpu","time":1709647629})"),
         "structured.time is 1709647629, not a time"},
        {Document(R"({"name":"cpu","time":"2024-03-05T14:07:09"})"), "has no zone: add Z"},
        {Document(R"({"name":"cpu","time":"2024-02-30T14:07:09Z"})"), "is not a time such as"},
        {Document(R"({"name":"cpu","time":"2024-03-05T14:07:09Z","status":5})"),
         "structured.status is 5, not 0"},
        {Document(R"({"name":"cpu","time":"2024-03-05T14:07:09Z","status":1.5})"), "is 1.5, not"},
        {Document(R"({"name":"cpu","time":"2024-03-05T14:07:09Z"})", R"({"metrics":[1]})"),
         "unstructured.metrics is a list, not an object"},
        {Document(R"({"name":"cpu","time":"2024-03-05T14:07:09Z"})", R"({"metrics":{"a":"1"}})"),
         "unstructured.metrics.a is \"1\", not a number, or an object"},
        {Document(R"({"name":"cpu","time":"2024-03-05T14:07:09Z"})",
                  R"({"metrics":{"a":{"unit":"%"}}})"),
         "unstructured.metrics.a.value is missing: add a number"},
    };
    for (const Row& row : rows) {
        EXPECT_THAT(Ctl::FindProblems(row.document, "cpu"), ElementsAre(HasSubstr(row.problem)))
            << row.document.substr(0, 100);
    }
    EXPECT_THAT(
        Ctl::FindProblems("{}", "a b"),
        ElementsAre(HasSubstr("invalid report name \"a b\""), HasSubstr("structured is missing"),
                    "unstructured is missing: add any JSON value"));
}

TEST(JsonSchema, RefusesUnsupportedSchemas) {
    for (const char* schema : {R"({"minimum":0})", R"({"properties":{"a":{"minLength":1}}})",
                               R"({"type":"integer"})", R"({"items":{"$ref":"#/$defs/none"}})",
                               R"({"$defs":{"a":true}})", R"({"pattern":"("})"}) {
        EXPECT_THROW(
            (void)Ctl::FindViolations(nlohmann::json::parse(schema), nlohmann::json("text")),
            std::invalid_argument)
            << schema;
    }
}

}  // namespace
}  // namespace Test
