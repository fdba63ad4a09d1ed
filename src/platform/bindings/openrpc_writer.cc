#include "platform/bindings/openrpc_writer.h"

#include "platform/bindings/metadata_writer.h"
#include "platform/runtime/call/authz_info.h"
#include "platform/runtime/json/json_response.h"
#include "platform/runtime/values/error_value.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <stdexcept>

namespace Quon::Bindings {

namespace {

using Definition::Field;
using Definition::Operation;
using Definition::Service;
using Definition::Type;
using Definition::TypeKind;
using OrderedJson = nlohmann::ordered_json;

OrderedJson ReferenceTo(const char* kind, const std::string& name) {
    return {{"$ref", "#/components/" + std::string(kind) + "/" + name}};
}

OrderedJson SchemaOf(const Type& type) {
    switch (type.kind) {
        case TypeKind::Boolean:
            return {{"type", "boolean"}};
        case TypeKind::Integer:
            return {{"type", "integer"}};
        case TypeKind::String:
            return {{"type", "string"}};
        case TypeKind::DateTime:
            return {{"type", "string"}, {"format", "date-time"}};
        case TypeKind::Enumeration:
        case TypeKind::Structure:
            return ReferenceTo("schemas", type.name);
        case TypeKind::List:
        case TypeKind::Set:
            break;
    }
    // Sets too: equal elements are accepted and count once.
    return {{"type", "array"}, {"items", SchemaOf(*type.element)}};
}

OrderedJson SchemaOf(const Definition::Structure& structure) {
    OrderedJson required = OrderedJson::array();
    OrderedJson properties = OrderedJson::object();
    for (const Field& field : structure.fields) {
        if (!field.type.optional) {
            required.push_back(field.name);
        }
        properties[field.name] = SchemaOf(field.type);
        properties[field.name]["description"] = field.documentation;
    }
    return {{"title", structure.name},
            {"description", structure.documentation},
            {"type", "object"},
            {"required", std::move(required)},
            {"properties", std::move(properties)}};
}

OrderedJson SchemasOf(const std::vector<Service>& services) {
    OrderedJson schemas = OrderedJson::object();
    for (const Service& service : services) {
        for (const Definition::Structure& structure : service.structures) {
            schemas[structure.name] = SchemaOf(structure);
        }
        for (const Definition::Enumeration& enumeration : service.enumerations) {
            schemas[enumeration.name] = {{"title", enumeration.name},
                                         {"description", enumeration.documentation},
                                         {"type", "string"},
                                         {"enum", enumeration.values}};
        }
    }
    return schemas;
}

Data::ErrorValue ErrorOf(const std::string& name) {
    for (auto type = Std::ErrorType::Error; type <= Std::ErrorType::Unauthorized;
         type = static_cast<Std::ErrorType>(static_cast<std::int32_t>(type) + 1)) {
        if (Std::ErrorName(type) == name) {
            return Std::MakeError(type);
        }
    }
    throw std::invalid_argument(name + " is not a standard error");
}

// The error as the API returns it when it has no message.
OrderedJson AnsweredError(const std::string& name) {
    constexpr std::size_t kPieceBytes = 4096;
    Protocol::Json::ResponseDocument answer = Protocol::Json::JsonApiResponseSerializer::Error(
        "null", ErrorOf(name), std::nullopt, Protocol::Json::DocumentEnd::Nothing);
    std::string text;
    while (answer.Next(text, kPieceBytes)) {
    }
    return OrderedJson::parse(text).at("error");
}

OrderedJson ErrorsOf(const std::vector<Service>& services) {
    OrderedJson errors = OrderedJson::object();
    for (const Service& service : services) {
        for (const Operation& operation : service.operations) {
            for (const std::string& name : operation.errors) {
                errors[name] = AnsweredError(name);
            }
        }
    }
    return errors;
}

OrderedJson TagsOf(const std::vector<Service>& services) {
    OrderedJson tags = OrderedJson::object();
    for (const Service& service : services) {
        tags[service.id] = {{"name", service.id}, {"description", service.documentation}};
    }
    return tags;
}

OrderedJson MethodOf(const Service& service, const Operation& operation) {
    OrderedJson parameters = OrderedJson::array();
    for (const Field& parameter : operation.parameters) {
        parameters.push_back({{"name", parameter.name},
                              {"description", parameter.documentation},
                              {"required", !parameter.type.optional},
                              {"schema", SchemaOf(parameter.type)}});
    }
    OrderedJson errors = OrderedJson::array();
    for (const std::string& name : operation.errors) {
        errors.push_back(ReferenceTo("errors", name));
    }
    const std::string scheme = operation.privileges.empty()
                                   ? std::string(Authz::kNoAuthenticationScheme)
                                   : kBearerTokenScheme;
    return {{"name", service.id + "." + operation.name},
            {"tags", OrderedJson::array({ReferenceTo("tags", service.id)})},
            {"summary", operation.documentation},
            {"paramStructure", "by-name"},
            {"params", std::move(parameters)},
            {"result", {{"name", "result"}, {"schema", SchemaOf(operation.result)}}},
            {"errors", std::move(errors)},
            {"x-authentication", OrderedJson::array({scheme})},
            {"x-privileges", operation.privileges}};
}

OrderedJson MethodsOf(const std::vector<Service>& services) {
    OrderedJson methods = OrderedJson::array();
    for (const Service& service : services) {
        for (const Operation& operation : service.operations) {
            methods.push_back(MethodOf(service, operation));
        }
    }
    return methods;
}

OrderedJson SecuritySchemes() {
    return {{kBearerTokenScheme,
             {{"type", "http"},
              {"scheme", "bearer"},
              {"bearerFormat", "JWT"},
              {"description",
               "Send the header \"Authorization: Bearer TOKEN\"; \"sentrelctl token issue\" "
               "creates a token."}}},
            {std::string(Authz::kNoAuthenticationScheme),
             {{"description", "No token is required, but an invalid one is refused."}}}};
}

}  // namespace

std::string MakeOpenRpc(const std::vector<Service>& services, const std::string& version) {
    constexpr int kIndent = 4;
    const OrderedJson document = {
        {"openrpc", "1.2.6"},
        {"info",
         {{"title", "The API of sentrel"},
          {"description",
           "The newest reports of this host's health checks, and the description of the API. "
           "JSON-RPC 2.0 over HTTP: POST one request object with the content type "
           "application/json."},
          {"version", version},
          {"license", {{"name", "Apache-2.0"}}}}},
        {"servers", OrderedJson::array({{{"name", "loopback"}, {"url", "http://127.0.0.1:9984"}}})},
        {"methods", MethodsOf(services)},
        {"components",
         {{"schemas", SchemasOf(services)},
          {"errors", ErrorsOf(services)},
          {"tags", TagsOf(services)}}},
        {"x-securitySchemes", SecuritySchemes()}};
    return document.dump(kIndent) + "\n";
}

}  // namespace Quon::Bindings
