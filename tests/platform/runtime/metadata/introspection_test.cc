// The introspection services: what a provider tells of what it holds.
#include "platform/runtime/metadata/introspection.h"

#include "platform/runtime/call/native.h"
#include "platform/runtime/call/provider.h"
#include "support/api_call.h"

#include <memory>
#include <string>

#include <gmock/gmock.h>

namespace Quon::Provider {
namespace {

using ::Test::AnswerOf;
using ::Test::LoggedLines;
using ::Test::WaitingTasks;
using testing::StartsWith;

std::shared_ptr<const ApiInterface> Service(const std::string& id) {
    Definition::Operation get;
    get.name = "get";
    get.documentation = "Gets.";
    get.parameters = {{"names", Native::TypeOf<std::optional<std::set<std::string>>>(), "Which."}};
    get.result = Native::TypeOf<std::string>();
    return std::make_shared<const ApiInterface>(ApiInterface{id, "Example.", {{get, {}}}});
}

class Introspection : public testing::Test {
  protected:
    Introspection() {
        container->Add(Service("com.example"));
        container->Add(IntrospectionInterfaces(container, "AsyncLocalProvider"));
    }
    std::string Ask(const std::string& service, const std::string& operation,
                    const std::string& parameters = "{}") {
        return AnswerOf(provider, *tasks, "com.korvex.quon.std.introspection." + service, operation,
                        parameters);
    }

    std::shared_ptr<AsyncApiInterfaceConcurrentContainer> container =
        std::make_shared<AsyncApiInterfaceConcurrentContainer>();
    std::shared_ptr<WaitingTasks> tasks = std::make_shared<WaitingTasks>();
    AsyncLocalProvider provider{container, tasks, std::make_shared<LoggedLines>()};
};

TEST_F(Introspection, TellsOfEveryServiceAndItself) {
    const std::string operation =
        R"({"name":"get","documentation":"Gets.","parameters":[{"name":"names",)"
        R"("type":"set<string>","optional":true,"documentation":"Which."}],)"
        R"("result":"string","errors":[]})";
    const struct {
        std::string service;
        std::string operation;
        std::string parameters;
        std::string answer;
    } kRows[] = {
        {"service", "list", "{}",
         R"(["com.example","com.korvex.quon.std.introspection.operation",)"
         R"("com.korvex.quon.std.introspection.provider",)"
         R"("com.korvex.quon.std.introspection.service"])"},
        {"service", "get", R"({"id":"com.example"})",
         R"({"id":"com.example","documentation":"Example.","operations":[)" + operation + "]}"},
        {"service", "get", R"({"id":"com"})", "not_found Unknown identifier \"com\"."},
        {"operation", "list", R"({"service":"com.korvex.quon.std.introspection.operation"})",
         R"(["get","list"])"},
        {"operation", "get", R"({"service":"com.example","operation":"get"})", operation},
        {"operation", "get", R"({"service":"com.example","operation":"put"})", "not_found"},
        {"operation", "get", R"({"service":"com.example"})", "invalid_argument"},
        {"provider", "get", "{}", R"({"id":"AsyncLocalProvider","fingerprint":")"},
        {"provider", "get", R"({"id":"x"})", "invalid_argument"},
    };
    for (const auto& row : kRows) {
        EXPECT_THAT(Ask(row.service, row.operation, row.parameters), StartsWith(row.answer))
            << row.service << "." << row.operation << row.parameters;
    }
}

}  // namespace
}  // namespace Quon::Provider
