// The subjects of "doctor", each of which adds what it finds, one Good finding when all is well.
// They throw CannotLook, or a std::exception whose text says what to do, where they could not look.
#pragma once

#include "ctl/doctor/host.h"

namespace Ctl {

void CheckDaemon(const Host& host, Findings& findings);
void CheckIntakePort(const Host& host, Findings& findings);
void CheckApiPort(const Host& host, Findings& findings);
void CheckSettings(const Host& host, Findings& findings);
// Whether what the daemon read at its start has changed since.
void CheckFreshness(const Host& host, Findings& findings);
void CheckAllPlugins(const Host& host, Findings& findings);
void CheckReportDirectory(const Host& host, Findings& findings);
void CheckReportStates(const Host& host, Findings& findings);
void CheckReportTimes(const Host& host, Findings& findings);
void CheckSigningKey(const Host& host, Findings& findings);
void CheckTrustSet(const Host& host, Findings& findings);
void CheckAuditLog(const Host& host, Findings& findings);
void CheckMetadataFile(const Host& host, Findings& findings);
void CheckGroup(const Host& host, Findings& findings);
// What confines plugins, and what this kernel leaves open.
void CheckSandbox(const Host& host, Findings& findings);

}  // namespace Ctl
