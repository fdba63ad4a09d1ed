// The reports service itself: what its operations ask the publisher, and which failures they
// answer. What results are made of is result_builders.h's, how calls arrive the binder's.
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

// The texts that one result holds: reports beyond it are left out.
inline constexpr std::size_t kMaxResultTextBytes = 64 * 1024 * 1024;

// Immutable: any thread. Every outcome is delivered before the operation returns. Only
// std::bad_alloc is thrown, and nothing has been delivered then.
class ReportsImpl : public AsyncServiceInterface {
  public:
    // Logs through a child of `logger` named "ReportsImpl". `publisher` is not null.
    ReportsImpl(const Pellmar::Ref<Pellmar::Service::Logger>& logger,
                std::shared_ptr<const Sentrel::Publisher> publisher);

    // Delivers not_found when there is no report of that name, and the generic error when there
    // are several or when the report's time is none.
    void Get(const std::string& name, const ::Quon::CallContext& context,
             ::Quon::AsyncResult<std::shared_ptr<const Info>> result) override;

    // Delivers a listing: the full one for FULL, else the brief one. Reports whose time is none are
    // left out. Only a full one that is abandoned on the way delivers the generic error.
    void List(const std::optional<FilterSpec>& filter, std::optional<DetailLevel> detail,
              const ::Quon::CallContext& context,
              ::Quon::AsyncResult<std::shared_ptr<const ListResult>> result) override;

  private:
    const Pellmar::Ref<Pellmar::Service::Logger> logger;
    const std::shared_ptr<const Sentrel::Publisher> publisher;
};

}  // namespace Com::Korvex::Oru::Observability::ReportsSvc
