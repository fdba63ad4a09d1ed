// Metadata files: what the services tell of a good one, and what is said of a bad one.
#include "platform/runtime/metadata/metadata.h"

#include "platform/runtime/call/provider.h"
#include "platform/runtime/metadata/authz_metadata.h"
#include "platform/runtime/metadata/introspection.h"
#include "platform/runtime/metadata/runtime_operations.h"
#include "support/api_call.h"
#include "support/temporary_directory.h"

#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace Quon::Provider::Metadata {
namespace {

using ::Test::AnswerOf;
using ::Test::LoggedLines;
using ::Test::TemporaryDirectory;
using ::Test::WaitingTasks;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

const std::string kDocument = R"({
"package": "com.example",
"cli": {
  "namespaces": [{"id": "com.example.reports", "documentation": "", "commands": ["com.example.reports.list"]}],
  "commands": [{"id": "com.example.reports.list", "name": "list", "service": "com.example.reports",
    "operation": "list", "documentation": "Lists.", "options": []}]},
"metamodel": {
  "components": [{"id": "com.example", "packages": ["com.example"]}],
  "packages": [{"id": "com.example", "services": [], "structures": [], "enumerations": []}],
  "services": [
    {"id": "z", "documentation": "", "operations": []},
    {"id": "com.example.reports", "documentation": "", "operations": [
      {"name": "list", "documentation": "", "parameters": [], "result": "string", "errors": []},
      {"name": "get", "documentation": "", "result": "string", "errors": [], "parameters": [
        {"name": "name", "type": "string", "optional": false, "documentation": ""}]}]}],
  "hiddenServices": [],
  "structures": [{"id": "com.example.info", "documentation": "", "fields": []}],
  "enumerations": [{"id": "com.example.status", "documentation": "", "values": ["OK", "BAD"]}],
  "resources": [{"id": "report", "models": ["com.example.info", "com.example.brief"]}]},
"authentication": {
  "components": [{"id": "com.example", "packages": ["com.example"]}],
  "packages": [{"id": "com.example", "schemes": ["token"]}],
  "services": [{"id": "com.example.reports", "schemes": ["token"], "operations": [
    {"name": "list", "schemes": ["token"]}, {"name": "get", "schemes": ["none"]}]}]},
"authorization": {
  "operations": [
    {"service": "com.example.reports", "operation": "list", "privileges": ["read"]},
    {"service": "com.example.reports", "operation": "get", "privileges": []}]}
})";

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    return text.replace(text.find(from), from.size(), to);
}

// The metadata services of one file, behind a provider.
class MetadataServices : public testing::Test {
  protected:
    // The texts of the three loaders' errors, empty ones left out.
    std::vector<std::string> Load(const std::string& document) {
        std::ofstream(path) << document;
        const auto cli = Cli::MetadataContainer::GetInstance();
        const auto metamodel = Metamodel::MetadataContainer::GetInstance();
        const auto authn = Authentication::MetadataContainer::GetInstance();
        std::vector<std::string> problems;
        for (const Data::ErrorValue& error :
             {ProviderHelper::LoadCliMetadataFile("com.example", path, cli),
              ProviderHelper::LoadMetamodelMetadataFile("com.example", path, metamodel),
              ProviderHelper::LoadAuthnMetadataFile("com.example", path, authn)}) {
            if (error) {
                problems.push_back(error.ToString());
            }
        }
        const auto container = std::make_shared<AsyncApiInterfaceConcurrentContainer>();
        container->Add(ProviderHelper::CliInterfaces(cli));
        container->Add(ProviderHelper::MetamodelInterfaces(metamodel));
        container->Add(ProviderHelper::AuthnInterfaces(authn));
        container->Add(IntrospectionInterfaces(container, "AsyncLocalProvider"));
        provider =
            std::make_unique<AsyncLocalProvider>(container, tasks, std::make_shared<LoggedLines>());
        return problems;
    }
    std::string Ask(const std::string& operation, const std::string& parameters = "{}") {
        const std::size_t dot = operation.rfind('.');
        return AnswerOf(*provider, *tasks, "com.korvex.quon.metadata." + operation.substr(0, dot),
                        operation.substr(dot + 1), parameters);
    }

    const TemporaryDirectory directory;
    const std::string path = directory.Path() + "metadata.json";
    std::shared_ptr<WaitingTasks> tasks = std::make_shared<WaitingTasks>();
    std::unique_ptr<AsyncLocalProvider> provider;
};

TEST_F(MetadataServices, ReturnTheContentOfTheFile) {
    ASSERT_THAT(Load(kDocument), IsEmpty());
    const struct {
        std::string operation;
        std::string parameters;
        std::string answer;
    } kRows[] = {
        {"cli.command.list", "{}", R"(["com.example.reports.list"])"},
        {"cli.command.get", R"({"id":"com.example.reports.list"})",
         R"({"id":"com.example.reports.list","name":"list","service":"com.example.reports",)"
         R"("operation":"list","documentation":"Lists.","options":[]})"},
        {"cli.namespace.get", R"({"id":"z"})", "not_found Unknown identifier \"z\"."},
        {"cli.namespace.get", "{}", "invalid_argument The member \"id\" is missing."},
        {"cli.namespace.list", R"({"id":"z"})", "invalid_argument Unknown member \"id\""},
        {"authentication.component.get", R"({"id":"com.example"})",
         R"({"id":"com.example","packages":["com.example"]})"},
        {"authentication.service.operation.get",
         R"({"service":"com.example.reports","operation":"get"})",
         R"({"name":"get","schemes":["none"]})"},
        {"metamodel.service.list", "{}", R"(["com.example.reports","z"])"},
        {"metamodel.service.hidden.list", "{}", "[]"},
        {"metamodel.service.operation.list", R"({"service":"com.example.reports"})",
         R"(["get","list"])"},
        {"metamodel.service.operation.get",
         R"({"service":"com.example.reports","operation":"put"})",
         "not_found Unknown identifier \"com.example.reports.put\""},
        {"metamodel.enumeration.get", R"({"id":"com.example.status"})",
         R"({"id":"com.example.status","documentation":"","values":["OK","BAD"]})"},
        {"metamodel.resource.list", "{}", R"(["report"])"},
        {"metamodel.resource.model.list", R"({"resource":"report"})",
         R"(["com.example.brief","com.example.info"])"},
    };
    for (const auto& row : kRows) {
        EXPECT_THAT(Ask(row.operation, row.parameters), StartsWith(row.answer)) << row.operation;
    }
}

TEST_F(MetadataServices, ChangeTheirFingerprintsWithTheirContent) {
    const auto fingerprints = [this] {
        return std::vector<std::string>{
            Ask("cli.command.fingerprint"), Ask("cli.namespace.fingerprint"),
            Ask("metamodel.component.fingerprint", R"({"id":"com.example"})"),
            Ask("authentication.component.fingerprint", R"({"id":"com.example"})")};
    };
    Load(kDocument);
    const std::vector<std::string> before = fingerprints();
    Load(Replaced(Replaced(kDocument, "\"package\":", "\n  \"package\" :"),
                  R"("name": "list", "service": "com.example.reports",)",
                  R"("service": "com.example.reports", "name": "list",)"));
    EXPECT_EQ(fingerprints(), before) << "only how it is written has changed";
    Load(Replaced(kDocument, "Lists.", "Lists all."));
    EXPECT_NE(fingerprints()[0], before[0]);
    EXPECT_THAT(fingerprints(), ElementsAre(testing::_, before[1], before[2], before[3]));
    Load(Replaced(kDocument, R"(["OK", "BAD"])", R"(["OK"])"));
    EXPECT_NE(fingerprints()[2], before[2]);
}

struct BrokenFile {
    const char* name;
    std::string document;
    std::string problem;
    bool isRefusedByLoaders = true;
    bool isRefusedByAuthorization = true;
};

const BrokenFile kBrokenFiles[] = {
    {"empty", "", "It is not a valid JSON object"},
    {"cut", kDocument.substr(0, kDocument.size() / 2), "line "},
    {"too deep", std::string(300, '[') + std::string(300, ']'), "It is not a valid JSON object"},
    {"equal names", Replaced(kDocument, "{", R"({"package": "x", )"), "two members"},
    {"too long", kDocument + std::string(1024 * 1024, ' '), "longer than 1048576 bytes"},
    {"no section", R"({"package": "com.example"})", " is missing"},
    {"a section of another type", Replaced(kDocument, R"("cli": {)", R"("cli": 1, "x": {)"),
     "\"cli\" must be", true, false},
    {"an unknown member", Replaced(kDocument, R"("commands": [{)", R"("commands": [{"x": 1, )"),
     "\"cli.commands[0].x\"", true, false},
    {"an id twice", Replaced(kDocument, R"("id": "z")", R"("id": "com.example.reports")"),
     "Two of its services have the id \"com.example.reports\"", true, false},
    {"another package", Replaced(kDocument, R"("package": "com.example")", R"("package": "x")"),
     "belongs to the package x", true, false},
    {"no schemes", Replaced(kDocument, R"({"name": "list", "schemes": ["token"]}, )", ""),
     "no authentication schemes for the operation com.example.reports.list", false},
    {"privileges of an open operation",
     Replaced(kDocument, R"("privileges": [])", R"("privileges": ["read"])"),
     "privileges of the operation com.example.reports.get", false},
};

TEST_F(MetadataServices, NameTheFileAndItsFault) {
    for (const BrokenFile& row : kBrokenFiles) {
        if (row.isRefusedByLoaders) {
            SCOPED_TRACE(row.name);
            EXPECT_THAT(Load(row.document),
                        testing::Contains(AllOf(HasSubstr(path), HasSubstr(row.problem))));
        }
    }
    std::ofstream(path) << kDocument;
    const auto container = Cli::MetadataContainer::GetInstance();
    ASSERT_FALSE(ProviderHelper::LoadCliMetadataFile("com.example", path, container));
    const auto loaded = container->Get();
    const std::string fifo = directory.Path() + "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    for (const std::string& bad : {directory.Path() + "none", directory.Path(), fifo}) {
        EXPECT_THAT(ProviderHelper::LoadCliMetadataFile("com.example", bad, container).ToString(),
                    HasSubstr("Cannot use the metadata file " + bad + ": "));
    }
    EXPECT_EQ(container->Get(), loaded);
}

TEST(AuthorizationMetadata, IsLoadedCompletelyOrNotAtAll) {
    LoggedLines log;
    std::vector<L10n::LocalizableMessage> messages;
    const auto load = [&](const std::string& document, Authz::AuthzInfo& info) {
        std::istringstream file(document);
        messages.clear();
        return Authz::Metadata::LoadAuthzInfoMetadata::Load(file, info, log, messages);
    };
    Authz::AuthzInfo info("none", {});
    ASSERT_TRUE(load(kDocument, info));
    EXPECT_THAT(*info.Privileges({"com.example.reports", "list"}), ElementsAre("read"));
    EXPECT_FALSE(info.IsOpen({"com.example.reports", "list"}));
    EXPECT_TRUE(info.IsOpen({"com.example.reports", "get"}));

    for (const BrokenFile& row : kBrokenFiles) {
        SCOPED_TRACE(row.name);
        Authz::AuthzInfo filled("none", {});
        EXPECT_NE(load(row.document, filled), row.isRefusedByAuthorization);
        if (row.isRefusedByAuthorization) {
            ASSERT_EQ(messages.size(), 1U);
            EXPECT_THAT(messages[0].defaultMessage, HasSubstr(row.problem));
        }
    }
    std::ifstream missing("/nowhere");
    EXPECT_FALSE(Authz::Metadata::LoadAuthzInfoMetadata::Load(missing, info, log, messages));
}

}  // namespace
}  // namespace Quon::Provider::Metadata
