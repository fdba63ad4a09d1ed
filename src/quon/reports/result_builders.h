// From the publisher's records to the result structures of the reports service. A record whose time
// text is none gives no result, which is logged at level 3.
#pragma once

#include "platform/bindings/reports_svc.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "store/publisher.h"
#include "store/report.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Com::Korvex::Oru::Observability::ReportsSvc {

// The status of a report's code; UNKNOWN for a code that is none.
Status ToStatus(std::int32_t code);

// The brief listing, in the order of `files`.
std::shared_ptr<const ListResult> BuildBriefListing(
    std::vector<Sentrel::ReportFile> files, const Pellmar::Ref<Pellmar::Service::Logger>& logger);

// The full listing, in the order of `reports`. Their texts, which can be long, are moved.
std::shared_ptr<const ListResult> BuildFullListing(
    std::vector<Sentrel::Report> reports, const Pellmar::Ref<Pellmar::Service::Logger>& logger);

// Null when the report's time text is none.
std::shared_ptr<const Info> BuildInfo(Sentrel::Report report,
                                      const Pellmar::Ref<Pellmar::Service::Logger>& logger);

}  // namespace Com::Korvex::Oru::Observability::ReportsSvc
