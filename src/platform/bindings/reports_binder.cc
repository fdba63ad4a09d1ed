#include "platform/bindings/reports_definition.h"
#include "platform/bindings/reports_svc.h"
#include "platform/runtime/call/native_operation.h"

#include <memory>
#include <string>
#include <utility>

namespace Com::Korvex::Oru::Observability::ReportsSvc {

using ::Quon::CallContext;
using ::Quon::CallResult;
using ::Quon::Native::BindOperation;
using ::Quon::Native::ToNativeResult;

std::shared_ptr<const ::Quon::Provider::ApiInterface> AsyncServiceBinder::BindImplementation(
    std::shared_ptr<AsyncServiceInterface> implementation) {
    auto list = [implementation](const ListParameters& parameters, const CallContext& context,
                                 CallResult result) {
        implementation->List(parameters.filter, parameters.detail, context,
                             ToNativeResult<ListResult>(std::move(result)));
    };
    auto get = [implementation = std::move(implementation)](
                   const GetParameters& parameters, const CallContext& context, CallResult result) {
        implementation->Get(parameters.name, context, ToNativeResult<Info>(std::move(result)));
    };
    ::Quon::Definition::Service service = Describe();
    return std::make_shared<const ::Quon::Provider::ApiInterface>(::Quon::Provider::ApiInterface{
        std::move(service.id),
        std::move(service.documentation),
        {BindOperation<ListParameters>(DescribeList(), std::move(list)),
         BindOperation<GetParameters>(DescribeGet(), std::move(get))}});
}

}  // namespace Com::Korvex::Oru::Observability::ReportsSvc
