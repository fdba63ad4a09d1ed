// Writes an audited call of the API to the host's audit log.
#pragma once

#include <map>
#include <string>

namespace Sentrel::HealthApi {

// Writes `record`: its "eventID", "subject" and "object" (empty if absent), all other keys as
// pairs, and whether the call succeeded. Never throws: the log reports records that it cannot
// write.
void AuditCall(std::map<std::string, std::string> record, bool success);

}  // namespace Sentrel::HealthApi
