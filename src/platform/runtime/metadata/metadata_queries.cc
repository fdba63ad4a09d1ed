#include "platform/runtime/metadata/metadata_queries.h"

#include "platform/runtime/call/native.h"
#include "platform/runtime/metadata/query_parameters.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace Quon::Provider {

namespace {

using Data::DataValue;
using Data::ListValue;
using Data::StructureValue;
using MetadataModel::Collection;
using MetadataModel::TextField;
using Answer = Outcome<DataValue>;

Answer NotFound(const std::string& id) {
    return Std::MakeError(Std::ErrorType::NotFound,
                          {L10n::MakeMessage("quon.metadata.not.found", {id})});
}

const StructureValue* Find(const Collection& collection, const std::string& id) {
    const auto found = collection.entries.find(id);
    return found == collection.entries.end() ? nullptr : found->second.AsStructure();
}

DataValue Ascending(std::vector<std::string> texts) {
    std::sort(texts.begin(), texts.end());
    ListValue list;
    for (std::string& text : texts) {
        list.emplace_back(std::move(text));
    }
    return DataValue(std::move(list));
}

Answer AnswerTo(Query query, const Collection& collection, const NoParameters& /*none*/) {
    if (query == Query::Fingerprint) {
        return DataValue(collection.fingerprint);
    }
    if (query == Query::GetOnly) {
        return collection.entries.begin()->second;
    }
    std::vector<std::string> ids;
    for (const auto& [id, entry] : collection.entries) {
        ids.push_back(id);
    }
    return Ascending(std::move(ids));
}

Answer AnswerTo(Query query, const Collection& collection, const IdParameters& asked) {
    const auto found = collection.entries.find(asked.id);
    if (found == collection.entries.end()) {
        return NotFound(asked.id);
    }
    return query == Query::ComponentFingerprint ? DataValue(collection.fingerprint) : found->second;
}

Answer AnswerTo(Query /*query*/, const Collection& services, const ServiceParameters& asked) {
    const StructureValue* service = Find(services, asked.service);
    if (service == nullptr) {
        return NotFound(asked.service);
    }
    std::vector<std::string> names;
    for (const DataValue& operation : *service->Find("operations")->AsList()) {
        names.push_back(TextField(*operation.AsStructure(), "name"));
    }
    return Ascending(std::move(names));
}

Answer AnswerTo(Query /*query*/, const Collection& services, const OperationParameters& asked) {
    if (const StructureValue* service = Find(services, asked.service)) {
        for (const DataValue& operation : *service->Find("operations")->AsList()) {
            if (TextField(*operation.AsStructure(), "name") == asked.operation) {
                return operation;
            }
        }
    }
    return NotFound(asked.service + "." + asked.operation);
}

Answer AnswerTo(Query /*query*/, const Collection& resources, const ResourceParameters& asked) {
    const StructureValue* resource = Find(resources, asked.resource);
    if (resource == nullptr) {
        return NotFound(asked.resource);
    }
    std::vector<std::string> models;
    for (const DataValue& model : *resource->Find("models")->AsList()) {
        models.push_back(*model.As<std::string>());
    }
    return Ascending(std::move(models));
}

const char* DocumentationOf(Query query) {
    switch (query) {
        case Query::List:
            return "Lists the identifiers, ascending.";
        case Query::Get:
            return "Returns the structure with that identifier.";
        case Query::GetOnly:
            return "Returns the provider that runs the operations.";
        case Query::Fingerprint:
            return "Returns a text that changes exactly when the service's metadata change.";
        case Query::ComponentFingerprint:
            return "Returns a text that changes exactly when the component's metadata change.";
        case Query::ListOperations:
            return "Lists the names of a service's operations, ascending.";
        case Query::GetOperation:
            return "Returns one operation of a service.";
        case Query::ListModels:
            return "Lists the structures that describe a resource, ascending.";
    }
    return "";
}

Definition::Type ResultOf(const RuntimeOperation& row) {
    using Definition::TypeKind;
    if (!row.structure.empty()) {
        return {TypeKind::Structure, false, std::string(row.structure), nullptr};
    }
    const Definition::Type text = Native::TypeOf<std::string>();
    const bool isText = row.query == Query::Fingerprint || row.query == Query::ComponentFingerprint;
    return isText ? text : Native::TypeOf<std::vector<std::string>>();
}

template <typename Parameters>
ApiOperation BindAs(const RuntimeOperation& row, const CollectionSource& source) {
    Definition::Operation definition;
    definition.name = row.operation;
    definition.documentation = DocumentationOf(row.query);
    definition.parameters = Native::DescribeFields<Parameters>();
    definition.result = ResultOf(row);
    if (!definition.parameters.empty()) {
        definition.errors = {Std::ErrorName(Std::ErrorType::NotFound)};
    }
    return Native::BindOperation<Parameters>(
        std::move(definition), [&row, source](const Parameters& parameters,
                                              const CallContext& /*context*/, CallResult result) {
            result.Set(AnswerTo(row.query, *source(row.collection), parameters));
        });
}

ApiOperation Bind(const RuntimeOperation& row, const CollectionSource& source) {
    switch (row.query) {
        case Query::List:
        case Query::GetOnly:
        case Query::Fingerprint:
            return BindAs<NoParameters>(row, source);
        case Query::Get:
        case Query::ComponentFingerprint:
            return BindAs<IdParameters>(row, source);
        case Query::ListOperations:
            return BindAs<ServiceParameters>(row, source);
        case Query::GetOperation:
            return BindAs<OperationParameters>(row, source);
        case Query::ListModels:
            break;
    }
    return BindAs<ResourceParameters>(row, source);
}

const char* DocumentationOf(OperationGroup group) {
    switch (group) {
        case OperationGroup::Cli:
            return "How a command line maps to the operations.";
        case OperationGroup::Authentication:
            return "How callers authenticate.";
        case OperationGroup::Metamodel:
            return "The services and their types.";
        case OperationGroup::Introspection:
            return "What this provider currently offers.";
    }
    return "";
}

}  // namespace

ApiInterfaces BindGroup(OperationGroup group, const CollectionSource& source) {
    std::vector<ApiInterface> services;
    for (const RuntimeOperation& row : kRuntimeOperations) {
        if (row.group != group) {
            continue;
        }
        if (services.empty() || services.back().service != row.service) {
            services.push_back({std::string(row.service), DocumentationOf(group), {}});
        }
        services.back().operations.push_back(Bind(row, source));
    }
    ApiInterfaces shared;
    for (ApiInterface& service : services) {
        shared.push_back(std::make_shared<const ApiInterface>(std::move(service)));
    }
    return shared;
}

}  // namespace Quon::Provider
