// The metadata file as the build writes it: accepted by every loader, and complete.
#include "platform/bindings/metadata_writer.h"

#include "platform/bindings/reports_definition.h"
#include "platform/runtime/metadata/authz_metadata.h"
#include "platform/runtime/metadata/metadata.h"
#include "support/api_call.h"
#include "support/temporary_directory.h"

#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Quon::Bindings {
namespace {

namespace Metadata = Provider::Metadata;
using Metadata::ProviderHelper;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

MetadataModel::MetadataFile Reports() {
    return MakeMetadata(Com::Korvex::Oru::Observability::ReportsSvc::Describe());
}

TEST(MetadataWriter, WritesWhatTheLoadersAccept) {
    const ::Test::TemporaryDirectory directory;
    const std::string path = directory.Path() + "metadata.json";
    std::ofstream(path) << ToText(Reports());
    const std::string package = "com.korvex.oru.observability";
    EXPECT_EQ(ProviderHelper::LoadCliMetadataFile(package, path,
                                                  Metadata::Cli::MetadataContainer::GetInstance())
                  .ToString(),
              "");
    EXPECT_EQ(ProviderHelper::LoadMetamodelMetadataFile(
                  package, path, Metadata::Metamodel::MetadataContainer::GetInstance())
                  .ToString(),
              "");
    EXPECT_EQ(ProviderHelper::LoadAuthnMetadataFile(
                  package, path, Metadata::Authentication::MetadataContainer::GetInstance())
                  .ToString(),
              "");
    Authz::AuthzInfo info(std::string(Authz::kNoAuthenticationScheme), {});
    ::Test::LoggedLines log;
    std::vector<L10n::LocalizableMessage> messages;
    std::ifstream file(path);
    ASSERT_TRUE(Authz::Metadata::LoadAuthzInfoMetadata::Load(file, info, log, messages));
    for (const char* name : {"list", "get"}) {
        const OperationId operation{"com.korvex.oru.observability.reports", name};
        ASSERT_NE(info.Privileges(operation), nullptr) << name;
        EXPECT_THAT(*info.Privileges(operation), ElementsAre("observability.reports.read"));
        EXPECT_FALSE(info.IsOpen(operation)) << name;
    }
}

TEST(MetadataWriter, MakesAnOptionOfEachFieldOfAParameter) {
    std::vector<std::string> options;
    for (const MetadataModel::CommandInfo& command : Reports().cli.commands) {
        for (const MetadataModel::OptionInfo& option : command.options) {
            options.push_back(command.name + " --" + option.name + " " + option.parameter + " " +
                              option.type + (option.required ? " required" : ""));
        }
    }
    EXPECT_THAT(options, UnorderedElementsAre("list --filter-names filter.names set<string>",
                                              "list --detail detail "
                                              "com.korvex.oru.observability.reports.detail_level",
                                              "get --name name string required"));
}

TEST(MetadataWriter, NamesTheStructuresThatResultsAreMadeOf) {
    const std::string prefix = "com.korvex.oru.observability.reports.";
    const auto resources = Reports().metamodel.resources;
    ASSERT_EQ(resources.size(), 1U);
    EXPECT_THAT(resources[0].models,
                ElementsAre(prefix + "info", prefix + "list_result", prefix + "summary"));
}

}  // namespace
}  // namespace Quon::Bindings
