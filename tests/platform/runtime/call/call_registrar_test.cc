// The call registrar: one account of each call, whatever becomes of it.
#include "platform/runtime/call/call_registrar.h"

#include "support/api_call.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Quon::Observer {
namespace {

using ::Test::MakeCall;
using ::Test::Outcomes;
using testing::ElementsAre;
using testing::Pair;
using testing::SizeIs;

using Behaviour = std::function<void(Call& call, CallResult& result)>;

class Scripted : public AsyncApiProvider {
  public:
    explicit Scripted(Behaviour behaviour) : behaviour(std::move(behaviour)) {}
    void Invoke(std::shared_ptr<Call> call, CallResult result) override {
        behaviour(*call, result);
    }
    std::vector<OperationId> Operations() const override { return {}; }

  private:
    const Behaviour behaviour;
};

TEST(CallRegistrar, HandsOverOneAccountOfEachCallBeforeItsOutcome) {
    std::vector<CallResult> kept;
    const struct {
        const char* name;
        Behaviour behaviour;
        std::string subject;
        bool success;
    } kRows[] = {
        {"a value of a known caller",
         [](Call& call, CallResult& result) {
             call.context.observer->RecordUser("ada");
             result.SetValue({});
         },
         "ada", true},
        {"an error of an unknown caller",
         [](Call&, CallResult& result) {
             result.SetError(Std::MakeError(Std::ErrorType::Unauthenticated));
         },
         "", false},
        {"a dropped result", [](Call&, CallResult&) {}, "", false},
        {"a late value", [&](Call&, CallResult& result) { kept.push_back(std::move(result)); }, "",
         true},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        Outcomes outcomes;
        std::vector<std::pair<Api::AuditMap, bool>> accounts;
        CallRegistrar registrar(std::make_shared<Scripted>(row.behaviour),
                                [&](Api::AuditMap audit, bool success) {
                                    EXPECT_THAT(outcomes.Texts(), SizeIs(0));
                                    accounts.emplace_back(std::move(audit), success);
                                });
        registrar.Invoke(MakeCall("com.example.reports", "list"), outcomes.Result());
        for (CallResult& result : std::exchange(kept, {})) {
            EXPECT_THAT(accounts, SizeIs(0));
            result.SetValue({});
        }
        EXPECT_THAT(outcomes.Texts(), SizeIs(1));
        const Api::AuditMap expected = {{"eventID", "api.call"},
                                        {"subject", row.subject},
                                        {"object", "com.example.reports:list"}};
        EXPECT_THAT(accounts, ElementsAre(Pair(expected, row.success)));
    }
}

}  // namespace
}  // namespace Quon::Observer
