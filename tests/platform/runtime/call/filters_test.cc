// The authorization filter of the call chain: who is let through.
#include "platform/runtime/call/authz_filter.h"
#include "support/api_call.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace Quon {
namespace {

using ::Test::LoggedLines;
using ::Test::MakeCall;
using ::Test::Outcomes;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

const AuthenticationData kAnonymous;
const AuthenticationData kAda{false, "ada", {"read"}};
const AuthenticationData kBob{false, "bob", {"write"}};

// Answers with the name of the caller as it arrives.
class LastLink : public AsyncApiProvider {
  public:
    explicit LastLink(std::vector<OperationId> operations = {})
        : operations(std::move(operations)) {}
    void Invoke(std::shared_ptr<Call> call, CallResult result) override {
        result.SetValue(Data::DataValue(call->context.authentication->userName));
    }
    std::vector<OperationId> Operations() const override { return operations; }

  private:
    const std::vector<OperationId> operations;
};

class Checker : public Authz::EntitlementChecker {
  public:
    bool IsEntitled(const AuthenticationData& caller, const std::string& privilege) const override {
        return std::count(caller.entitlements.begin(), caller.entitlements.end(), privilege) > 0;
    }
};

Authz::AuthzInfo MakeInfo() {
    Authz::AuthzInfo info("none", {{"s", "open"}});
    EXPECT_TRUE(info.Add({"s", "read"}, {"token"}, {"read"}));
    EXPECT_TRUE(info.Add({"s", "both"}, {"token"}, {"read", "write"}));
    EXPECT_TRUE(info.Add({"s", "any_token"}, {"token"}, {}));
    EXPECT_TRUE(info.Add({"s", "no_token"}, {"token", "none"}, {}));
    return info;
}

TEST(AuthzFilter, AdmitsAuthorizedCallersOnly) {
    const auto filter = Authz::Filter::AsyncAuthzFilter::Create(
        std::make_shared<LastLink>(), std::make_shared<Checker>(), MakeInfo(),
        std::make_shared<LoggedLines>());
    ASSERT_NE(filter, nullptr);
    const struct {
        std::string operation;
        std::optional<AuthenticationData> caller;
        std::string outcome;
    } kRows[] = {
        {"open", kAnonymous, "\"\""},
        {"no_token", kAnonymous, "\"\""},
        {"any_token", kBob, "\"bob\""},
        {"any_token", kAnonymous, "unauthenticated"},
        {"read", kAda, "\"ada\""},
        {"read", kBob, "unauthorized The operation \"s.read\" requires the privilege \"read\""},
        {"read", kAnonymous, "unauthenticated This call requires a valid token."},
        {"read", std::nullopt, "unauthenticated"},
        {"both", kAda, "unauthorized The operation \"s.both\" requires the privilege \"write\""},
        {"both", kBob, "unauthorized"},
        {"unheard_of", kAda, "\"ada\""},
        {"unheard_of", kAnonymous, "unauthenticated"},
    };
    for (const auto& row : kRows) {
        const auto call = MakeCall("s", row.operation);
        call->context.authentication = row.caller;
        Outcomes outcomes;
        filter->Invoke(call, outcomes.Result());
        EXPECT_THAT(outcomes.Texts(), ElementsAre(StartsWith(row.outcome))) << row.operation;
    }
}

TEST(AuthzFilter, IsNotCreatedIfAnOperationHasNoMetadata) {
    const auto log = std::make_shared<LoggedLines>();
    const auto links = std::make_shared<LastLink>(
        std::vector<OperationId>{{"s", "lost"}, {"s", "no_token"}, {"s", "open"}, {"t", "read"}});
    EXPECT_EQ(Authz::Filter::AsyncAuthzFilter::Create(links, std::make_shared<Checker>(),
                                                      MakeInfo(), log),
              nullptr);
    EXPECT_THAT(log->Lines(), ElementsAre(HasSubstr("for s.lost;"), HasSubstr("for t.read;")));
}

}  // namespace
}  // namespace Quon
