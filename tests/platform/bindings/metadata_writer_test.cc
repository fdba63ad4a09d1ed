// The metadata file as the build writes it: its options and the structures that results are made
// of.
#include "platform/bindings/metadata_writer.h"

#include "platform/bindings/reports_definition.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace Quon::Bindings {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

MetadataModel::MetadataFile Reports() {
    return MakeMetadata(Com::Korvex::Oru::Observability::ReportsSvc::Describe());
}

TEST(MetadataWriter, CreatesAnOptionForEachFieldOfAParameter) {
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
