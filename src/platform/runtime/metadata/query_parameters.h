// The parameters of the metadata and introspection operations: the identifiers of what to return.
#pragma once

#include "platform/runtime/definition/native_traits.h"

#include <string>
#include <string_view>
#include <tuple>

namespace Quon::Provider {

struct NoParameters {};
struct IdParameters {
    std::string id;
};
struct ServiceParameters {
    std::string service;
};
struct OperationParameters {
    std::string service;
    std::string operation;
};
struct ResourceParameters {
    std::string resource;
};

}  // namespace Quon::Provider

namespace Quon::Native {

template <>
struct StructureOf<Provider::NoParameters> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.no_parameters";
    static constexpr std::string_view kDocumentation = "Nothing.";
    static constexpr std::tuple<> kFields{};
};

template <>
struct StructureOf<Provider::IdParameters> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.id_parameters";
    static constexpr std::string_view kDocumentation = "The queried object.";
    static constexpr auto kFields =
        std::make_tuple(Field{"id", &Provider::IdParameters::id, "One of the listed identifiers."});
};

template <>
struct StructureOf<Provider::ServiceParameters> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.service_parameters";
    static constexpr std::string_view kDocumentation = "The queried object.";
    static constexpr auto kFields = std::make_tuple(
        Field{"service", &Provider::ServiceParameters::service, "The identifier of a service."});
};

template <>
struct StructureOf<Provider::OperationParameters> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.operation_parameters";
    static constexpr std::string_view kDocumentation = "The queried object.";
    static constexpr auto kFields = std::make_tuple(
        Field{"service", &Provider::OperationParameters::service, "The identifier of a service."},
        Field{"operation", &Provider::OperationParameters::operation,
              "The name of one of its operations."});
};

template <>
struct StructureOf<Provider::ResourceParameters> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.resource_parameters";
    static constexpr std::string_view kDocumentation = "The queried object.";
    static constexpr auto kFields = std::make_tuple(Field{
        "resource", &Provider::ResourceParameters::resource, "The identifier of a resource."});
};

}  // namespace Quon::Native
