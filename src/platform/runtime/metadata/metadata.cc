#include "platform/runtime/metadata/metadata.h"

#include "platform/runtime/call/native.h"
#include "platform/runtime/metadata/metadata_definition.h"
#include "platform/runtime/metadata/metadata_file.h"
#include "platform/runtime/metadata/metadata_queries.h"
#include "platform/sys/host_root.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>
#include <system_error>

namespace Quon::Provider::Metadata {

namespace {

using L10n::LocalizableMessage;
using MetadataModel::Collection;
using MetadataModel::Section;

Data::ErrorValue Unusable(const std::string& path, const std::string& reason) {
    return Std::MakeError(Std::ErrorType::Error,
                          {L10n::MakeMessage("quon.metadata.file.unusable", {path, reason})});
}

template <typename Model>
std::optional<Section> ReadSection(std::istream& file, const std::string& package,
                                   std::string_view name, LocalizableMessage& problem) {
    const std::optional<Data::DataValue> document = MetadataModel::ReadDocument(file, problem);
    if (!document) {
        return std::nullopt;
    }
    std::string foundPackage;
    Model model;
    Native::Problem misfit =
        MetadataModel::ReadMember(*document->AsStructure(), "package", foundPackage);
    if (!misfit) {
        misfit = MetadataModel::ReadMember(*document->AsStructure(), name, model);
    }
    if (!misfit && foundPackage != package) {
        misfit = L10n::MakeMessage("quon.metadata.other.package", {foundPackage, package});
    }
    if (misfit) {
        problem = std::move(*misfit);
        return std::nullopt;
    }
    return MetadataModel::MakeSection(*Native::ToData(model).AsStructure(), problem);
}

template <typename Model>
Data::ErrorValue Load(const std::string& package, const std::string& path, std::string_view name,
                      SectionContainer<Model>& container) {
    const std::string rootedPath = Sys::HostPath(path);
    std::error_code error;
    const bool isRegular = std::filesystem::is_regular_file(rootedPath, error);
    if (error) {
        return Unusable(path, error.message() + ".");
    }
    if (!isRegular) {  // opening a FIFO would block
        return Unusable(path, "It is not a regular file.");
    }
    std::ifstream file(rootedPath, std::ios::binary);
    if (!file) {
        return Unusable(path, std::generic_category().message(errno) + ".");
    }
    LocalizableMessage problem;
    std::optional<Section> section = ReadSection<Model>(file, package, name, problem);
    if (!section) {
        return Unusable(path, problem.defaultMessage);
    }
    container.Set(std::make_shared<const Section>(std::move(*section)));
    return {};
}

template <typename Model>
ApiInterfaces Bind(OperationGroup group, const SectionContainer<Model>& container) {
    return BindGroup(group, [section = container.Get()](std::string_view name) {
        static const auto sEmpty = std::make_shared<const Collection>();
        const auto found = section ? section->find(name) : Section::const_iterator();
        return section && found != section->end() ? found->second : sEmpty;
    });
}

}  // namespace

Data::ErrorValue ProviderHelper::LoadCliMetadataFile(
    const std::string& package, const std::string& path,
    const std::shared_ptr<Cli::MetadataContainer>& container) {
    return Load(package, path, "cli", *container);
}

Data::ErrorValue ProviderHelper::LoadMetamodelMetadataFile(
    const std::string& package, const std::string& path,
    const std::shared_ptr<Metamodel::MetadataContainer>& container) {
    return Load(package, path, "metamodel", *container);
}

Data::ErrorValue ProviderHelper::LoadAuthnMetadataFile(
    const std::string& package, const std::string& path,
    const std::shared_ptr<Authentication::MetadataContainer>& container) {
    return Load(package, path, "authentication", *container);
}

ApiInterfaces ProviderHelper::CliInterfaces(
    const std::shared_ptr<Cli::MetadataContainer>& container) {
    return Bind(OperationGroup::Cli, *container);
}

ApiInterfaces ProviderHelper::MetamodelInterfaces(
    const std::shared_ptr<Metamodel::MetadataContainer>& container) {
    return Bind(OperationGroup::Metamodel, *container);
}

ApiInterfaces ProviderHelper::AuthnInterfaces(
    const std::shared_ptr<Authentication::MetadataContainer>& container) {
    return Bind(OperationGroup::Authentication, *container);
}

}  // namespace Quon::Provider::Metadata
