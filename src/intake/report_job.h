// The job that stores a posted report: receives the body, commits it to the store, responds.
#pragma once

#include "platform/pellmar/http/http_message.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "store/report_roller.h"

#include <cstdint>

namespace Sentrel {

// The maximum size of a report in bytes: a longer one is refused if its length says so, else cut
// before the chunk that exceeds the bound.
inline constexpr std::int32_t kMaxReportSize = 1024 * 1024;

// Stores the body of `request` as the newest report of `roller` and then responds: 200, or 413 if
// the body was cut (the part before the cut is stored). If the file could not be created, sets the
// status 500, which is sent when the response is released, and does not read the body. Runs on the
// work queue of the report name. Failures to create the file and to send the response are logged at
// level 3; exceptions from reading the body, writing the file and listing the directory are passed
// on, and the link is unchanged.
void WriteReport(Pellmar::Http::Request& request, Pellmar::Http::Response& response,
                 ReportRoller& roller, const Pellmar::Ref<Pellmar::Service::Logger>& logger);

}  // namespace Sentrel
