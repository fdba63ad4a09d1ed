// One audited call of the API, on its way to the host's audit log.
#pragma once

#include <map>
#include <string>

namespace Sentrel::HealthApi {

// Sends `record` with its "eventID", "subject" and "object" (empty when it has none) and the call's
// `success`; every other key goes along as a pair. Never throws: the log reports what it cannot
// take.
void AuditCall(std::map<std::string, std::string> record, bool success);

}  // namespace Sentrel::HealthApi
