// The metadata services: containers for three sections of a metadata file, their loaders, and the
// services that publish them. metadata_model.h describes the file; authz_info.h keeps the fourth
// section, authorization.
#pragma once

#include "platform/runtime/call/provider.h"
#include "platform/runtime/metadata/metadata_model.h"
#include "platform/runtime/metadata/metadata_section.h"
#include "platform/runtime/values/error_value.h"

#include <memory>
#include <string>
#include <utility>

namespace Quon::Provider::Metadata {

// A section, with a type of its own so that loaders and services cannot confuse sections. One
// thread; services keep the content from the time of their creation.
template <typename Model>
class SectionContainer {
  public:
    // Creates an empty container.
    static std::shared_ptr<SectionContainer> GetInstance() {
        return std::make_shared<SectionContainer>();
    }

    // Null until a section is loaded.
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
    // Replaces the container's content by a section of that package's metadata file at the host
    // path `path`. On failure leaves the container unchanged; the error names the file and the
    // reason. Does not throw.
    static Data::ErrorValue LoadCliMetadataFile(
        const std::string& package, const std::string& path,
        const std::shared_ptr<Cli::MetadataContainer>& container);
    static Data::ErrorValue LoadMetamodelMetadataFile(
        const std::string& package, const std::string& path,
        const std::shared_ptr<Metamodel::MetadataContainer>& container);
    static Data::ErrorValue LoadAuthnMetadataFile(
        const std::string& package, const std::string& path,
        const std::shared_ptr<Authentication::MetadataContainer>& container);

    // Create the services that publish the container's content.
    static ApiInterfaces CliInterfaces(const std::shared_ptr<Cli::MetadataContainer>& container);
    static ApiInterfaces MetamodelInterfaces(
        const std::shared_ptr<Metamodel::MetadataContainer>& container);
    static ApiInterfaces AuthnInterfaces(
        const std::shared_ptr<Authentication::MetadataContainer>& container);
};

}  // namespace Quon::Provider::Metadata
