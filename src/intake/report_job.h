// The job that a posted report becomes: receives the body, commits it to the store, answers.
#pragma once

#include "platform/pellmar/http/http_message.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "store/report_roller.h"

#include <cstdint>

namespace Sentrel {

// Bytes of a report: a longer one is refused when its length says so, else cut before the chunk
// that crosses the bound.
inline constexpr std::int32_t kMaxReportSize = 1024 * 1024;

// Stores the body of `request` as the newest report of `roller` and only then answers: 200, or 413
// when the body was cut (what was read is stored all the same), or 500 with the body unread when no
// file could be made; the last answer is sent when the response is released. On the work queue of
// the report name. Failures to make the file and to send the answer are logged at level 3;
// exceptions of the body read, the file and the ring leave this function, with nothing linked.
void WriteReport(Pellmar::Http::Request& request, Pellmar::Http::Response& response,
                 ReportRoller& roller, const Pellmar::Ref<Pellmar::Service::Logger>& logger);

}  // namespace Sentrel
