// The subjects of "doctor". Each adds its findings, one Good finding if there is no problem, and
// throws CannotInspect, or a std::exception whose text says what to do, if it cannot inspect
// something.
#pragma once

#include "ctl/doctor/host.h"

namespace Ctl {

void CheckDaemon(const Host& host, Findings& findings);
void CheckIntakePort(const Host& host, Findings& findings);
void CheckApiPort(const Host& host, Findings& findings);
void CheckSettings(const Host& host, Findings& findings);
// Checks whether the files that the daemon read when it started have changed since.
void CheckFreshness(const Host& host, Findings& findings);
void CheckAllPlugins(const Host& host, Findings& findings);
void CheckReportDirectory(const Host& host, Findings& findings);
void CheckReportStates(const Host& host, Findings& findings);
void CheckReportTimes(const Host& host, Findings& findings);
void CheckSigningKey(const Host& host, Findings& findings);
void CheckTrustSet(const Host& host, Findings& findings);
void CheckAuditLog(const Host& host, Findings& findings);
void CheckMetadataFile(const Host& host, Findings& findings);
// Says nothing when all is well, or the timer is off.
void CheckMetricsTimer(const Host& host, Findings& findings);
void CheckGroup(const Host& host, Findings& findings);
// Checks the sandbox of plugins, and its gaps on this kernel.
void CheckSandbox(const Host& host, Findings& findings);

}  // namespace Ctl
