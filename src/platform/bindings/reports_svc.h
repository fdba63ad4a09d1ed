// The reports service in C++: its structures, the interface that an implementation derives from,
// and the binder that turns an implementation into an API service. reports_definition.h has the
// names and texts on the wire.
#pragma once

#include "platform/runtime/call/call.h"
#include "platform/runtime/call/provider.h"
#include "platform/runtime/values/async_result.h"
#include "platform/runtime/values/date_time.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Com::Korvex::Oru::Observability::ReportsSvc {

enum class Status : std::int32_t { OK = 0, WARNING = 1, ERROR = 2, NONE = 3, UNKNOWN = 4 };

enum class DetailLevel : std::int32_t { FULL = 0, BRIEF = 1 };

// One report in the result of `List`.
struct Summary {
    std::string name;
    // Brief: when the newest report file was modified; full: when the report was created.
    ::Quon::DateTime time;
    std::optional<Status> status;             // full listing only
    std::optional<std::string> unstructured;  // full listing only; JSON text
};

// The result of `Get`: the newest report of a name.
struct Info {
    ::Quon::DateTime time;  // when the report was created
    Status status = Status::UNKNOWN;
    std::string unstructured;  // JSON text
};

struct ListResult {
    std::vector<std::shared_ptr<const Summary>> reports;
};

struct FilterSpec {
    std::optional<std::set<std::string>> names;  // absent or empty: all
};

// Implementations deliver exactly one outcome for each call.
class AsyncServiceInterface {
  public:
    virtual void Get(const std::string& name, const ::Quon::CallContext& context,
                     ::Quon::AsyncResult<std::shared_ptr<const Info>> result) = 0;
    virtual void List(const std::optional<FilterSpec>& filter, std::optional<DetailLevel> detail,
                      const ::Quon::CallContext& context,
                      ::Quon::AsyncResult<std::shared_ptr<const ListResult>> result) = 0;
    virtual ~AsyncServiceInterface() = default;
};

class AsyncServiceBinder {
  public:
    // Returns the API service "com.korvex.oru.observability.reports", whose calls go to
    // `implementation`.
    static std::shared_ptr<const ::Quon::Provider::ApiInterface> BindImplementation(
        std::shared_ptr<AsyncServiceInterface> implementation);
};

}  // namespace Com::Korvex::Oru::Observability::ReportsSvc
