// Converts the publisher's records to the results of the reports service. A record with an invalid
// time gives no result, which is logged at level 3.
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

// The status with that code; UNKNOWN for an unknown code.
Status ToStatus(std::int32_t code);

// Builds a brief listing in the order of `files`.
std::shared_ptr<const ListResult> BuildBriefListing(
    std::vector<Sentrel::ReportFile> files, const Pellmar::Ref<Pellmar::Service::Logger>& logger);

// Builds a full listing in the order of `reports`, moving their texts, which may be long.
std::shared_ptr<const ListResult> BuildFullListing(
    std::vector<Sentrel::Report> reports, const Pellmar::Ref<Pellmar::Service::Logger>& logger);

// Null if the report's time is invalid.
std::shared_ptr<const Info> BuildInfo(Sentrel::Report report,
                                      const Pellmar::Ref<Pellmar::Service::Logger>& logger);

}  // namespace Com::Korvex::Oru::Observability::ReportsSvc
