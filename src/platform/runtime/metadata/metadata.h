// The metadata services: containers for three of the sections of a metadata file, their loaders,
// and the services that answer from them. The format is metadata_model.h's; the fourth section,
// authorization, is authz_info.h's.
#pragma once

#include "platform/runtime/call/provider.h"
#include "platform/runtime/metadata/metadata_model.h"
#include "platform/runtime/metadata/metadata_section.h"
#include "platform/runtime/values/error_value.h"

#include <memory>
#include <string>
#include <utility>

namespace Quon::Provider::Metadata {

// One section, of a type of its own so that no loader fills and no service reads another's. One
// thread; services that were made of it keep what it held then.
template <typename Model>
class SectionContainer {
  public:
    // A new one, without any entry.
    static std::shared_ptr<SectionContainer> GetInstance() {
        return std::make_shared<SectionContainer>();
    }

    // Null while nothing was loaded.
    const std::shared_ptr<const MetadataModel::Section>& Get() const { return section; }
    void Set(std::shared_ptr<const MetadataModel::Section> loaded) { section = std::move(loaded); }

  private:
    std::shared_ptr<const MetadataModel::Section> section;
};

namespace Cli {
using MetadataContainer = SectionContainer<MetadataModel::CliSection>;
}
namespace Metamodel {
using MetadataContainer = SectionContainer<MetadataModel::MetamodelSection>;
}
namespace Authentication {
using MetadataContainer = SectionContainer<MetadataModel::AuthenticationSection>;
}

class ProviderHelper {
  public:
    // Fills the container with a section of the metadata file of that package at `path`, a host
    // path, in place of what it held. On failure the container is unchanged, and the error names
    // the file and what is wrong in it. Does not throw.
    static Data::ErrorValue LoadCliMetadataFile(
        const std::string& package, const std::string& path,
        const std::shared_ptr<Cli::MetadataContainer>& container);
    static Data::ErrorValue LoadMetamodelMetadataFile(
        const std::string& package, const std::string& path,
        const std::shared_ptr<Metamodel::MetadataContainer>& container);
    static Data::ErrorValue LoadAuthnMetadataFile(
        const std::string& package, const std::string& path,
        const std::shared_ptr<Authentication::MetadataContainer>& container);

    // The services that tell what the container holds.
    static ApiInterfaces CliInterfaces(const std::shared_ptr<Cli::MetadataContainer>& container);
    static ApiInterfaces MetamodelInterfaces(
        const std::shared_ptr<Metamodel::MetadataContainer>& container);
    static ApiInterfaces AuthnInterfaces(
        const std::shared_ptr<Authentication::MetadataContainer>& container);
};

}  // namespace Quon::Provider::Metadata
