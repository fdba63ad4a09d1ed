// One audited call of the API, on its way to the host's audit log.
#pragma once

#include <map>
#include <string>

namespace Sentrel::HealthApi {

// Sets "result" of `record` and sends it with its "eventID", "subject" and "object" (empty when it
// has none); every other key goes along as a pair. Never throws: what the log cannot take is said
// by the log.
void AuditCall(std::map<std::string, std::string> record, bool success);

}  // namespace Sentrel::HealthApi
