#include "platform/bindings/reports_definition.h"

#include "platform/bindings/service_types.h"
#include "platform/runtime/values/error_value.h"

#include <initializer_list>
#include <utility>
#include <vector>

namespace Com::Korvex::Oru::Observability::ReportsSvc {

namespace {

namespace Definition = ::Quon::Definition;
namespace Native = ::Quon::Native;
using ::Quon::Bindings::AddFieldTypes;
using ::Quon::Bindings::AddTypes;
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
        "The reports of this host's health checks: the newest of each report name.",
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
