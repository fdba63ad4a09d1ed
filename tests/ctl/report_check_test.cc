#include "ctl/report_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace CtlTest {
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
                      R"({"metrics":{"a":1,"b":{"value":-1.5,"unit":"%"}}})"),
         }) {
        EXPECT_THAT(Ctl::FindProblems(document, "cpu"), IsEmpty()) << document;
    }
}

TEST(ReportCheck, TellsEachProblem) {
    struct Row {
        std::string document;
        const char* problem;
    };
    const Row rows[] = {
        {"", "line 1, column 1"},
        {"[]", "line 1, column 1"},
        {"{} {}", "line 1, column 4"},
        {std::string(1048577, ' '), "1048576"},
        {Document("{\"name\":\"cpu\",\"time\":\"2024-03-05T14:07:09Z\"}", "[01]"), "line 1"},
        {R"({"unstructured":1})", "structured is missing"},
        {Document("[]"), "structured is no object"},
        {Document(R"({"name":"disk","time":"2024-03-05T14:07:09Z"})"),
         "structured.name is \"disk\", not \"cpu\""},
        {Document(R"({"name":1,"time":"2024-03-05T14:07:09Z"})"), "structured.name is no text"},
        {Document(R"({"name":"cpu","time":1709647629})"), "structured.time is no text"},
        {Document(R"({"name":"cpu","time":"2024-03-05T14:07:09"})"), "has no zone: add Z"},
        {Document(R"({"name":"cpu","time":"2024-03-05"})"), "is no time such as"},
        {Document(R"({"name":"cpu","time":"2024-02-30T14:07:09Z"})"), "is no time such as"},
        {Document(R"({"name":"cpu","time":"2024-03-05T14:07:09Z","status":5})"),
         "structured.status is 5, not 0"},
        {Document(R"({"name":"cpu","time":"2024-03-05T14:07:09Z","status":-1})"), "is -1, not 0"},
        {Document(R"({"name":"cpu","time":"2024-03-05T14:07:09Z","status":"ok"})"), "is \"ok\""},
        {Document(R"({"name":"cpu","time":"2024-03-05T14:07:09Z","status":1.0})"), "is 1.0, not"},
        {Document(R"({"name":"cpu","time":"2024-03-05T14:07:09Z"})", R"({"metrics":[1]})"),
         "unstructured.metrics is no object"},
        {Document(R"({"name":"cpu","time":"2024-03-05T14:07:09Z"})", R"({"metrics":{"a":"1"}})"),
         "unstructured.metrics.a is neither"},
    };
    for (const Row& row : rows) {
        EXPECT_THAT(Ctl::FindProblems(row.document, "cpu"), ElementsAre(HasSubstr(row.problem)))
            << row.document.substr(0, 100);
    }
    EXPECT_THAT(Ctl::FindProblems("{}", "a b"),
                ElementsAre(HasSubstr("\"a b\" is no name"), "structured is missing",
                            "unstructured is missing"));
}

}  // namespace
}  // namespace CtlTest
