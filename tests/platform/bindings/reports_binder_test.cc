// The reports service between JSON and C++: what parameters reach an implementation, and how its
// answers look on the wire.
#include "platform/bindings/reports_definition.h"
#include "platform/bindings/std_errors.h"
#include "platform/runtime/json/json_response.h"
#include "platform/runtime/json/json_writer.h"
#include "platform/runtime/json/value_reader.h"

#include <memory>
#include <new>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Com::Korvex::Oru::Observability::ReportsSvc {
namespace {

namespace Errors = Com::Korvex::Quon::Std::Errors;
using ::Quon::CallContext;
using Names = std::set<std::string>;
using testing::HasSubstr;

::Quon::DateTime Time() {
    std::error_code error;
    return ::Quon::DateTime::Create("2024-03-05T14:07:09Z", error);
}

// Notes its parameters and answers by the name or the detail that it is asked for.
struct NotingService : AsyncServiceInterface {
    std::string asked;

    void Get(const std::string& name, const CallContext& /*context*/,
             ::Quon::AsyncResult<std::shared_ptr<const Info>> result) override {
        asked = "get " + name;
        if (name == "memory") {
            throw std::bad_alloc();
        }
        if (name == "disk") {
            return result.SetError(ToErrorValue(Errors::NotFound{}));
        }
        if (name == "net") {
            return result.SetError(ToErrorValue(
                Errors::Error{{{"some.id", "Text.", {"x"}}}, ::Quon::Data::DataValue("more")}));
        }
        result.SetValue(std::make_shared<Info>(Info{Time(), Status::NONE, R"({"a":1})"}));
    }

    void List(const std::optional<FilterSpec>& filter, std::optional<DetailLevel> detail,
              const CallContext& /*context*/,
              ::Quon::AsyncResult<std::shared_ptr<const ListResult>> result) override {
        asked = filter ? "list filter" : "list";
        for (const std::string& name : filter.value_or(FilterSpec{}).names.value_or(Names{})) {
            asked += " " + name;
        }
        asked += detail ? (*detail == DetailLevel::FULL ? " FULL" : " BRIEF") : "";
        auto listing = std::make_shared<ListResult>();
        listing->reports = {std::make_shared<Summary>(Summary{"cpu", Time(), {}, {}}),
                            std::make_shared<Summary>(Summary{"mem", Time(), Status::OK, "null"})};
        result.SetValue(std::move(listing));
    }
};

// The answer to a call as JSON text. What the implementation throws is survived, as the provider
// does.
std::string Call(const std::shared_ptr<NotingService>& service, std::string_view operation,
                 std::string_view parameters) {
    const auto api = AsyncServiceBinder::BindImplementation(service);
    std::string json;
    ::Quon::CallResult result([&json](::Quon::Outcome<::Quon::Data::DataValue> outcome) {
        const auto* const error = std::get_if<::Quon::Data::ErrorValue>(&outcome);
        ::Quon::Protocol::Json::ValueWriter writer(
            error != nullptr ? ::Quon::Protocol::Json::ToData(*error)
                             : std::get<::Quon::Data::DataValue>(outcome));
        while (writer.Next(json, 1)) {
        }
    });
    const ::Quon::Data::DataValue value = ::Quon::Protocol::Json::ReadValue(parameters);
    for (const ::Quon::Provider::ApiOperation& each : api->operations) {
        if (each.definition.name == operation) {
            try {
                each.invoke(*value.AsStructure(), {}, std::move(result));
            } catch (const std::bad_alloc&) {
                EXPECT_FALSE(json.empty()) << "nobody was answered";
            }
            break;
        }
    }
    return json;
}

TEST(ReportsBinder, HandsParametersToTheImplementation) {
    const struct {
        const char* operation;
        const char* parameters;
        const char* asked;  // empty: refused
        const char* problem;
    } rows[] = {
        {"list", "{}", "list", ""},
        {"list", R"({"filter":null,"detail":null})", "list", ""},
        {"list", R"({"filter":{}})", "list filter", ""},
        {"list", R"({"filter":{"names":["b","a","b"]},"detail":"FULL"})", "list filter a b FULL",
         ""},
        {"list", R"({"detail":"full"})", "list BRIEF", ""},
        {"list", R"({"detail":0})", "", "detail"},
        {"list", R"({"filter":{"names":"cpu"}})", "", "filter.names"},
        {"list", R"({"filter":{"name":["cpu"]}})", "", "filter.name"},
        {"get", R"({"name":""})", "get ", ""},
        {"get", "{}", "", "name"},
        {"get", R"({"name":"cpu","detail":"FULL"})", "", "detail"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.parameters);
        const auto service = std::make_shared<NotingService>();
        const std::string answer = Call(service, row.operation, row.parameters);
        EXPECT_EQ(service->asked, row.asked);
        if (*row.problem != '\0') {
            EXPECT_THAT(answer, HasSubstr("com.korvex.quon.std.errors.invalid_argument"));
            EXPECT_THAT(answer, HasSubstr(R"(\")" + std::string(row.problem) + R"(\")"));
        }
    }
}

TEST(ReportsBinder, WritesAnswersAsTheServiceIsDefined) {
    const struct {
        const char* operation;
        const char* parameters;
        const char* answer;
    } rows[] = {
        {"list", "{}",
         R"({"reports":[{"name":"cpu","time":"2024-03-05T14:07:09.000Z"},)"
         R"({"name":"mem","time":"2024-03-05T14:07:09.000Z","status":"OK","unstructured":"null"}]})"},
        {"get", R"({"name":"cpu"})",
         R"({"time":"2024-03-05T14:07:09.000Z","status":"NONE","unstructured":"{\"a\":1}"})"},
        {"get", R"({"name":"disk"})",
         R"({"error":"com.korvex.quon.std.errors.not_found","messages":[],)"
         R"("errorType":"NOT_FOUND"})"},
        {"get", R"({"name":"net"})",
         R"({"error":"com.korvex.quon.std.errors.error","messages":[{"id":"some.id",)"
         R"("defaultMessage":"Text.","args":["x"]}],"data":"more","errorType":"ERROR"})"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Call(std::make_shared<NotingService>(), row.operation, row.parameters),
                  row.answer);
    }
    EXPECT_THAT(Call(std::make_shared<NotingService>(), "get", R"({"name":"memory"})"),
                HasSubstr("com.korvex.quon.std.errors.internal_server_error"));
}

}  // namespace
}  // namespace Com::Korvex::Oru::Observability::ReportsSvc
