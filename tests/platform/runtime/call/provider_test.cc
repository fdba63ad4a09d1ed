// The local provider: which calls reach an operation, and that each ends with one outcome.
#include "platform/runtime/call/provider.h"

#include "support/api_call.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace Quon::Provider {
namespace {

using ::Test::LoggedLines;
using ::Test::MakeCall;
using ::Test::Outcomes;
using ::Test::WaitingTasks;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

ApiOperation Operation(const std::string& name, ApiOperation::Invoke invoke) {
    ApiOperation operation;
    operation.definition.name = name;
    operation.invoke = std::move(invoke);
    return operation;
}

// The operations of the service "s", one for each way to end.
class LocalProvider : public testing::Test {
  protected:
    LocalProvider() {
        const Data::DataValue value(std::int64_t{1});
        const ApiInterface service{
            "s",
            "",
            {Operation("value", [=](auto&, auto&, CallResult result) { result.SetValue(value); }),
             Operation("echo",
                       [](auto& parameters, auto&, CallResult result) {
                           result.SetValue(Data::DataValue(parameters));
                       }),
             Operation("drop", [](auto&, auto&, CallResult) {}),
             Operation("later", [this](auto&, auto&,
                                       CallResult result) { kept.push_back(std::move(result)); }),
             Operation("throw",
                       [](auto&, auto&, CallResult) { throw std::runtime_error("no disk"); }),
             Operation("answer_and_throw",
                       [=](auto&, auto&, CallResult result) {
                           result.SetValue(value);
                           throw std::runtime_error("no disk");
                       }),
             Operation("keep_and_throw", [this](auto&, auto&, CallResult result) {
                 kept.push_back(std::move(result));
                 throw std::runtime_error("no disk");
             })}};
        container->Add(std::make_shared<const ApiInterface>(service));
    }

    std::vector<CallResult> kept;
    std::shared_ptr<AsyncApiInterfaceConcurrentContainer> container =
        std::make_shared<AsyncApiInterfaceConcurrentContainer>();
    std::shared_ptr<WaitingTasks> tasks = std::make_shared<WaitingTasks>();
    std::shared_ptr<LoggedLines> log = std::make_shared<LoggedLines>();
    AsyncLocalProvider provider{container, tasks, log};
};

TEST_F(LocalProvider, EndsEveryCallWithOneOutcome) {
    const struct {
        std::string operation;
        std::string parameters;
        std::string outcome;
        bool isLogged;
    } kRows[] = {
        {"s.value", "{}", "1", false},
        {"s.echo", R"({"a":[1,"x"]})", R"({"a":[1,"x"]})", false},
        {"s.drop", "{}", "internal_server_error The operation ended without", false},
        {"s.later", "{}", "2", false},
        {"s.throw", "{}", "internal_server_error The operation \"s.throw\" failed. ", true},
        {"s.answer_and_throw", "{}", "internal_server_error", true},
        {"s.keep_and_throw", "{}", "internal_server_error", true},
        {"s.none", "not JSON", "operation_not_found Unknown operation \"s.none\"", false},
        {"t.value", "not JSON", "operation_not_found", false},
        {".value", "{}", "operation_not_found Unknown operation \"value\"", false},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.operation);
        const std::size_t dot = row.operation.rfind('.');
        const std::size_t linesBefore = log->Lines().size();
        Outcomes outcomes;
        provider.Invoke(
            MakeCall(row.operation.substr(0, dot), row.operation.substr(dot + 1), row.parameters),
            outcomes.Result());
        EXPECT_THAT(outcomes.Texts(), IsEmpty()) << "nothing runs outside the enqueuer";
        tasks->RunAll();
        for (CallResult& result : std::exchange(kept, {})) {
            result.SetValue(Data::DataValue(std::int64_t{2}));
        }
        EXPECT_THAT(outcomes.Texts(), ElementsAre(StartsWith(row.outcome)));
        EXPECT_EQ(log->Lines().size() - linesBefore, row.isLogged ? 1U : 0U);
    }
    EXPECT_THAT(log->Lines(), Each(StartsWith("4 The operation s.")));
}

TEST_F(LocalProvider, AnswersACallWhoseTaskIsDropped) {
    Outcomes outcomes;
    provider.Invoke(MakeCall("s", "value"), outcomes.Result());
    *tasks = WaitingTasks();
    EXPECT_THAT(outcomes.Texts(), ElementsAre(HasSubstr("internal_server_error")));
}

}  // namespace
}  // namespace Quon::Provider
