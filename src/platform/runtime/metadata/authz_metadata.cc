#include "platform/runtime/metadata/authz_metadata.h"

#include "platform/runtime/metadata/metadata_definition.h"
#include "platform/runtime/metadata/metadata_file.h"

#include <map>
#include <optional>
#include <string>
#include <utility>

namespace Quon::Authz::Metadata {

namespace {

using Schemes = std::map<OperationId, std::vector<std::string>>;

Schemes SchemesOf(const MetadataModel::AuthenticationSection& authentication) {
    Schemes schemes;
    for (const MetadataModel::ServiceSchemes& service : authentication.services) {
        for (const MetadataModel::OperationSchemes& operation : service.operations) {
            schemes[{service.id, operation.name}] = operation.schemes;
        }
    }
    return schemes;
}

// Returns nothing once everything has been added.
Native::Problem AddAll(const MetadataModel::AuthorizationSection& authorization,
                       const Schemes& schemes, AuthzInfo& info) {
    for (const MetadataModel::OperationPrivileges& entry : authorization.operations) {
        const OperationId operation{entry.service, entry.operation};
        const auto found = schemes.find(operation);
        if (found == schemes.end()) {
            return L10n::MakeMessage("quon.metadata.no.schemes", {operation.ToString()});
        }
        if (!info.Add(operation, found->second, entry.privileges)) {
            return L10n::MakeMessage("quon.metadata.privileges.conflict", {operation.ToString()});
        }
    }
    return std::nullopt;
}

Native::Problem Read(std::istream& file, AuthzInfo& info) {
    L10n::LocalizableMessage problem;
    const std::optional<Data::DataValue> document = MetadataModel::ReadDocument(file, problem);
    if (!document) {
        return problem;
    }
    MetadataModel::AuthenticationSection authentication;
    MetadataModel::AuthorizationSection authorization;
    Native::Problem misfit =
        MetadataModel::ReadMember(*document->AsStructure(), "authentication", authentication);
    if (!misfit) {
        misfit =
            MetadataModel::ReadMember(*document->AsStructure(), "authorization", authorization);
    }
    return misfit ? misfit : AddAll(authorization, SchemesOf(authentication), info);
}

}  // namespace

bool LoadAuthzInfoMetadata::Load(std::istream& file, AuthzInfo& info, Logger& logger,
                                 std::vector<L10n::LocalizableMessage>& messages) {
    if (Native::Problem problem = Read(file, info)) {
        messages.push_back(std::move(*problem));
        return false;
    }
    logger.Log(LogLevel::Debug, "The authorization metadata is complete");
    return true;
}

}  // namespace Quon::Authz::Metadata
