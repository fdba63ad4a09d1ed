// The description of the API that is installed, held against the API that a daemon serves.
#include "ctl/post/json_schema.h"
#include "support/tool_host.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <set>
#include <string>

namespace Test {
namespace {

using nlohmann::json;
using testing::IsEmpty;

const std::string kReports = "com.korvex.oru.observability.reports";
const std::string kIntrospection = "com.korvex.quon.std.introspection";

class ApiDescription : public ToolHost {
  protected:
    ApiDescription() {
        OutputOf({"token", "init"});
        StartDaemon();
    }

    json Call(const std::string& method, const json& parameters = json::object()) const {
        return json::parse(OutputOf({"call", method, parameters.dump()}));
    }
    // What the daemon answers to a method of the document fits what that says of its result.
    void ExpectDescribedResult(std::size_t method, const json& parameters) const {
        const json result = Call(document["methods"][method]["name"], parameters);
        const std::string place = "/methods/" + std::to_string(method) + "/result/schema";
        EXPECT_THAT(Ctl::FindViolations(document, result, place), IsEmpty()) << result;
        json broken = result;
        (broken.contains("reports") ? broken["reports"][0] : broken)["status"] = "GOOD";
        EXPECT_EQ(Ctl::FindViolations(document, broken, place).size(), 1U);
    }

    const json document = json::parse(ReadFile(SENTREL_API_DESCRIPTION));
};

void CollectReferences(const json& part, std::set<std::string>& references) {
    for (const auto& [name, value] : part.items()) {
        if (part.is_object() && name == "$ref") {
            references.insert(value.get<std::string>());
        } else if (value.is_structured()) {
            CollectReferences(value, references);
        }
    }
}

TEST_F(ApiDescription, HasTheOperationsThatAreServedAndTheirPrivileges) {
    std::set<std::string> described;
    for (const json& method : document["methods"]) {
        const auto name = method["name"].get<std::string>();
        EXPECT_TRUE(described.insert(name).second) << name;
        const bool isOpen = !name.starts_with(kReports);
        EXPECT_EQ(method["x-privileges"].empty(), isOpen) << name;
        const json& scheme = document["x-securitySchemes"].at(method["x-authentication"][0]);
        EXPECT_EQ(scheme.contains("bearerFormat"), !isOpen) << name;
    }
    std::set<std::string> served;
    for (const json& service : Call(kIntrospection + ".service.list")) {
        const auto name = service.get<std::string>();
        for (const json& operation :
             Call(kIntrospection + ".operation.list", {{"service", name}})) {
            served.insert(name + "." + operation.get<std::string>());
        }
    }
    EXPECT_EQ(served.size(), 38U);
    EXPECT_EQ(described, served);

    std::set<std::string> references;
    CollectReferences(document, references);
    EXPECT_GT(references.size(), 20U);
    for (const std::string& reference : references) {
        EXPECT_TRUE(document.contains(json::json_pointer(reference.substr(1)))) << reference;
    }
}

TEST_F(ApiDescription, MatchesTheDaemonsAnswers) {
    const ToolResult posted =
        RunTool({"post", "cpu", "-"}, {"SENTREL_ROOT=" + host.Root()}, User::Own,
                R"({"structured":{"name":"cpu","time":"2024-03-05T14:07:09Z","status":2},)"
                R"("unstructured":{}})");
    ASSERT_EQ(posted.status, 0) << posted.error;
    ASSERT_EQ(document["methods"][0]["name"], kReports + ".list");
    ASSERT_EQ(document["methods"][1]["name"], kReports + ".get");
    ExpectDescribedResult(0, {{"detail", "FULL"}});
    ExpectDescribedResult(1, {{"name", "cpu"}});
}

}  // namespace
}  // namespace Test
