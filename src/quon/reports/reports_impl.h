// Implements the operations of the reports service: queries the publisher and maps its failures to
// errors. result_builders.h builds the results; the binder receives the calls.
#pragma once

#include "platform/bindings/reports_svc.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "store/publisher.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace Com::Korvex::Oru::Observability::ReportsSvc {

// The bound on the texts in one result; reports beyond it are left out.
inline constexpr std::size_t kMaxResultTextBytes = 64 * 1024 * 1024;

// Immutable: any thread. Every outcome is delivered before the operation returns. Only
// std::bad_alloc is thrown, and then no outcome has been delivered.
class ReportsImpl : public AsyncServiceInterface {
  public:
    // Logs through a child of `logger` named "ReportsImpl". `publisher` is not null.
    ReportsImpl(const Pellmar::Ref<Pellmar::Service::Logger>& logger,
                std::shared_ptr<const Sentrel::Publisher> publisher);

    // Delivers not_found if the report does not exist, and the generic error if several have that
    // name or the report's time is invalid.
    void Get(const std::string& name, const ::Quon::CallContext& context,
             ::Quon::AsyncResult<std::shared_ptr<const Info>> result) override;

    // Delivers a full listing for FULL, otherwise a brief one. Leaves out reports with an invalid
    // time. Delivers the generic error only for a full listing that the client has abandoned.
    void List(const std::optional<FilterSpec>& filter, std::optional<DetailLevel> detail,
              const ::Quon::CallContext& context,
              ::Quon::AsyncResult<std::shared_ptr<const ListResult>> result) override;

  private:
    const Pellmar::Ref<Pellmar::Service::Logger> logger;
    const std::shared_ptr<const Sentrel::Publisher> publisher;
};

}  // namespace Com::Korvex::Oru::Observability::ReportsSvc
