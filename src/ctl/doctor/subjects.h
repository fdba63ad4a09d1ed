// The subjects of "doctor", each of which adds what it finds, one Good finding when all is well.
// They throw CannotLook, or a std::exception whose text says what to do, where they could not look.
#pragma once

#include "ctl/doctor/host.h"

namespace Ctl {

void CheckDaemon(const DoctorHost& host, Findings& findings);
void CheckIntakePort(const DoctorHost& host, Findings& findings);
void CheckApiPort(const DoctorHost& host, Findings& findings);
void CheckSettings(const DoctorHost& host, Findings& findings);
// Whether what the daemon read at its start has changed since.
void CheckFreshness(const DoctorHost& host, Findings& findings);
void CheckAllPlugins(const DoctorHost& host, Findings& findings);
void CheckReportDirectory(const DoctorHost& host, Findings& findings);
void CheckReportStates(const DoctorHost& host, Findings& findings);
void CheckReportTimes(const DoctorHost& host, Findings& findings);
void CheckSigningKey(const DoctorHost& host, Findings& findings);
void CheckTrustSet(const DoctorHost& host, Findings& findings);
void CheckAuditLog(const DoctorHost& host, Findings& findings);
void CheckMetadataFile(const DoctorHost& host, Findings& findings);
void CheckGroup(const DoctorHost& host, Findings& findings);

}  // namespace Ctl
