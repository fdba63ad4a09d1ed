#include "platform/bindings/reports_definition.h"

#include "platform/runtime/error_value.h"

#include <algorithm>
#include <initializer_list>
#include <type_traits>
#include <utility>
#include <vector>

namespace Com::Korvex::Oru::Observability::ReportsSvc {

namespace {

namespace Definition = ::Quon::Definition;
namespace Native = ::Quon::Native;
using ::Quon::Std::ErrorType;

std::vector<std::string> ErrorNames(std::initializer_list<ErrorType> types) {
    std::vector<std::string> names;
    for (const ErrorType type : types) {
        names.push_back(::Quon::Std::ErrorName(type));
    }
    return names;
}

template <typename Parameters, typename Result>
Definition::Operation DescribeOperation(std::string name, std::vector<std::string> errors) {
    return {std::move(name),
            std::string(Native::StructureOf<Parameters>::kDocumentation),
            Native::DescribeFields<Parameters>(),
            Native::TypeOf<Result>(),
            std::move(errors),
            {std::string(kReadPrivilege)}};
}

template <typename T>
void AddTypes(Definition::Service& service);

// The types of the fields of a structure, and what they are made of.
template <typename T>
void AddFieldTypes(Definition::Service& service) {
    Native::ForEachField<T>([&service]<typename Member>(const Native::Field<T, Member>& /*field*/) {
        AddTypes<Member>(service);
    });
}

// The structures and enumerations that `T` is made of, each once.
template <typename T>
void AddTypes(Definition::Service& service) {
    const auto isNew = [](const auto& described) {
        return std::none_of(described.begin(), described.end(),
                            [](const auto& each) { return each.name == Native::TypeOf<T>().name; });
    };
    if constexpr (Native::kIsOptional<T> || Native::kIsList<T>) {
        AddTypes<typename T::value_type>(service);
    } else if constexpr (Native::kIsShared<T>) {
        AddTypes<std::remove_const_t<typename T::element_type>>(service);
    } else if constexpr (Native::IsEnumeration<T>) {
        if (isNew(service.enumerations)) {
            service.enumerations.push_back(Native::DescribeEnumeration<T>());
        }
    } else if constexpr (Native::IsStructure<T>) {
        if (isNew(service.structures)) {
            service.structures.push_back(Native::DescribeStructure<T>());
            AddFieldTypes<T>(service);
        }
    }
}

}  // namespace

Definition::Operation DescribeList() {
    return DescribeOperation<ListParameters, ListResult>(
        "list", ErrorNames({ErrorType::InvalidArgument, ErrorType::Unauthenticated,
                            ErrorType::Unauthorized}));
}

Definition::Operation DescribeGet() {
    return DescribeOperation<GetParameters, Info>(
        "get", ErrorNames({ErrorType::NotFound, ErrorType::Error, ErrorType::InvalidArgument,
                           ErrorType::Unauthenticated, ErrorType::Unauthorized}));
}

Definition::Service Describe() {
    Definition::Service service{
        std::string(kServiceId),
        "The reports of the health checks of this host, the newest of each report name.",
        {DescribeList(), DescribeGet()},
        {},
        {}};
    AddFieldTypes<ListParameters>(service);
    AddTypes<ListResult>(service);
    AddFieldTypes<GetParameters>(service);
    AddTypes<Info>(service);
    return service;
}

}  // namespace Com::Korvex::Oru::Observability::ReportsSvc
