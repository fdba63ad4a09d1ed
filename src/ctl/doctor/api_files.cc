// "doctor": the files that the API writes and reads, except the reports.
#include "ctl/doctor/subjects.h"
#include "ctl/host/input_file.h"
#include "ctl/show/sizes.h"
#include "ctl/show/words.h"
#include "platform/audit/audit_file.h"
#include "platform/audit/kvx_audit.h"
#include "platform/bindings/metadata_writer.h"
#include "platform/sys/host_root.h"

#include <nlohmann/json.hpp>

#include <filesystem>

#include <unistd.h>

namespace Ctl {

namespace {

constexpr std::size_t kMaxMetadataBytes = std::size_t{4} << 20;
constexpr const char* kReinstall = "reinstall the package: apt install --reinstall sentrel";

// The size of the audit log at `path`, such as "1.2 MiB" or "1.2 MiB and 3 older files of 192 MiB".
std::string AuditSizes(const std::string& path, const struct stat& newest) {
    std::uintmax_t olderSize = 0;
    std::size_t olderFiles = 0;
    for (int number = 1; number <= Audit::kKeptFiles; ++number) {
        if (const auto older = StatOf(path + "." + std::to_string(number))) {
            olderSize += static_cast<std::uintmax_t>(older->st_size);
            ++olderFiles;
        }
    }
    const std::string size = SizeText(static_cast<std::uintmax_t>(newest.st_size));
    return olderFiles == 0
               ? size
               : size + " and " + Counted(olderFiles, "older file") + " of " + SizeText(olderSize);
}

}  // namespace

void CheckAuditLog(const Host& host, Findings& findings) {
    const std::string subject = "audit log";
    const std::string path = Sys::HostPath(Audit::kLogPath);
    const std::string folder = std::filesystem::path(path).parent_path();
    const std::string user = NameOfUser(host.user.user);
    const std::size_t before = findings.size();
    std::optional<AccessFault> fault = FindAccessFault(folder, host.user, W_OK | X_OK);
    const std::optional<struct stat> file = StatOf(path);
    if (file && !fault) {
        fault = FindAccessFault(path, host.user, W_OK);
    }
    // the daemon creates a missing file, if it may
    if (fault && (StatOf(folder) || host.user.user != 0)) {
        findings.push_back(
            {Severity::Error, subject, fault->text + ": no call of the API is recorded",
             !fault->remedy.empty() ? fault->remedy
                                    : "install -d -m 0750 -o " + user + " " + folder +
                                          (file ? "; chown " + user + " " + path : "")});
    }
    if (file && !S_ISREG(file->st_mode)) {
        findings.push_back({Severity::Error, subject,
                            path + " is not a regular file: no call of the API is recorded",
                            "move it away; the daemon creates a new one"});
        return;
    }
    if (file && (file->st_mode & S_IRWXO) != 0) {
        findings.push_back({Severity::Warning, subject,
                            path + " (" + OwnerAndMode(*file) + ") is accessible to everybody",
                            "chmod o= " + path});
    }
    // the daemon retries at every further 64 MiB
    if (file && file->st_size >= 2 * Audit::kMaxFileBytes) {
        findings.push_back(
            {Severity::Warning, subject,
             path + " is " + AuditSizes(path, *file) + ": the daemon could not rename it",
             "look for \"The audit log exceeds its size limit\" in its log"});
    }
    if (findings.size() == before) {
        findings.push_back(
            {Severity::Good, subject,
             file ? path + " (" + OwnerAndMode(*file) + "), " + AuditSizes(path, *file)
                  : "nothing is recorded yet; the first call creates " + path,
             ""});
    }
}

void CheckMetadataFile(const Host& host, Findings& findings) {
    const std::string subject = "metadata file";
    const std::string path = Sys::HostPath(Quon::Bindings::kMetadataPath);
    const std::optional<AccessFault> fault = FindAccessFault(path, host.user, R_OK);
    std::string problem = fault ? fault->text : "";
    if (problem.empty() &&
        !nlohmann::json::accept(ReadRegularFile(path, kMaxMetadataBytes, "the metadata file"))) {
        problem = path + " is not JSON";
    }
    if (problem.empty()) {
        findings.push_back({Severity::Good, subject, path, ""});
    } else {
        findings.push_back({Severity::Error, subject, problem + ": the API cannot start",
                            fault && !fault->remedy.empty() ? fault->remedy : kReinstall});
    }
}

}  // namespace Ctl
