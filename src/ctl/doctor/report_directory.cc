// "doctor": the report directory, its free space, and its contents.
#include "core/settings/settings.h"
#include "ctl/doctor/subjects.h"
#include "ctl/host/daemon_settings.h"
#include "ctl/show/sizes.h"
#include "ctl/show/words.h"
#include "intake/report_job.h"
#include "store/report_name.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <system_error>

#include <sys/statvfs.h>
#include <unistd.h>

namespace Ctl {

namespace {

namespace Files = std::filesystem;

constexpr const char* kSubject = "report directory";
// A name needs a link, its files, and one for an arriving report.
constexpr std::uintmax_t kInodesOfName = Sentrel::kFilesPerName + 2;
constexpr std::uintmax_t kBytesOfName =
    std::uintmax_t{Sentrel::kFilesPerName} * Sentrel::kMaxReportSize;

struct Content {
    std::set<std::string> names;      // the names of links
    std::set<std::string> stored;     // names with files that may be their newest report
    std::vector<std::string> broken;  // dangling links
    std::vector<std::string> foreign;
    std::size_t storedFiles = 0;
    std::uintmax_t storedBytes = 0;
};

Content ReadContent(const std::string& directory) {
    Content content;
    std::error_code error;
    for (Files::directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string file = entry->path().filename();
        std::error_code failure;  // the file was removed meanwhile
        const std::optional<std::string_view> name = Sentrel::NameOfLink(file);
        if (name && entry->is_symlink(failure)) {
            content.names.emplace(*name);
            if (Files::status(entry->path(), failure).type() == Files::file_type::not_found) {
                content.broken.push_back(file);
            }
        } else if (Sentrel::NameOfStoredFile(file) && entry->is_regular_file(failure)) {
            const std::uintmax_t size = entry->file_size(failure);
            content.storedBytes += failure ? 0 : size;
            if (!file.starts_with('.')) {
                content.stored.emplace(*Sentrel::NameOfStoredFile(file));
            }
            ++content.storedFiles;
        } else {
            content.foreign.push_back(file);
        }
    }
    if (error) {
        throw CannotInspect("cannot read " + directory, error.value());
    }
    std::sort(content.foreign.begin(), content.foreign.end());
    return content;
}

void CheckRoom(const std::string& directory, const Content& content, Findings& findings) {
    struct statvfs system{};
    if (::statvfs(directory.c_str(), &system) != 0) {
        const int error = errno;
        throw CannotInspect("cannot determine the free space of " + directory, error);
    }
    const std::uintmax_t free = std::uintmax_t{system.f_bavail} * system.f_frsize;
    const std::uintmax_t names = std::max<std::uintmax_t>(content.names.size(), 1);
    const std::uintmax_t most = names * kBytesOfName;
    const std::uintmax_t more = most - std::min(most, content.storedBytes);
    const std::string remedy =
        "free space on the file system of " + directory + ": df " + directory;
    if (free < Sentrel::kMaxReportSize) {
        findings.push_back({Severity::Error, kSubject,
                            SizeText(free) + " are free, less than one report may need", remedy});
    } else if (free < more) {
        findings.push_back({Severity::Warning, kSubject,
                            SizeText(free) + " are free; at worst the reports take " +
                                SizeText(more) + " more (" + Counted(names, "name") + ", " +
                                Counted(Sentrel::kFilesPerName, "file") + " each, " +
                                SizeText(Sentrel::kMaxReportSize) + " a file)",
                            remedy});
    }
    const bool countsInodes = system.f_files != 0;
    if (countsInodes && system.f_favail < names * kInodesOfName) {
        findings.push_back(
            {system.f_favail == 0 ? Severity::Error : Severity::Warning, kSubject,
             Counted(system.f_favail, "inode") + (system.f_favail == 1 ? " is free" : " are free"),
             "remove files from the file system of " + directory + ": df -i " + directory});
    }
}

// Names with reports and no link: a crash came between the two, or the link could not be created.
std::vector<std::string> FindUnlinked(const std::string& directory, const Content& content) {
    std::vector<std::string> names;
    for (const std::string& name : content.stored) {
        std::error_code failure;  // a link is gone for an instant while it is renewed
        if (!content.names.contains(name) &&
            !Files::is_symlink(directory + Sentrel::LinkName(name), failure)) {
            names.push_back(name);
        }
    }
    return names;
}

// The daemon may see another file system at its report directory than the one that is mounted there
// now: one that was unmounted here stays in the daemon's mount namespace.
void CheckViewOfDaemon(const Host& host, const struct stat& own, Findings& findings) {
    const std::string& directory = host.reportDirectory;
    if (!host.daemon || host.hasNamedReports || directory.starts_with("/proc/")) {
        return;
    }
    struct stat seen{};
    const std::string view = "/proc/" + std::to_string(host.daemon->pid) + "/root" + directory;
    const int error = ::stat(view.c_str(), &seen) == 0 ? 0 : errno;
    if (error == EACCES || error == EPERM) {
        findings.push_back({Severity::Notice, kSubject,
                            "cannot see which " + directory + " the daemon uses",
                            "run this as root", true});
    } else if (error != 0 || seen.st_dev != own.st_dev || seen.st_ino != own.st_ino) {
        findings.push_back({Severity::Error, kSubject,
                            error != 0 ? "the daemon does not see " + directory
                                       : "the daemon uses another " + directory +
                                             " than this one: a file system was mounted or "
                                             "unmounted there after its start",
                            "systemctl restart sentrel"});
    }
}

// The daemon counts the names that it has seen since its start, too, so forgetting one is not
// enough.
void CheckNumberOfNames(const Content& content, Findings& findings) {
    std::int32_t most = Sentrel::kDefaultMaxReportNames;
    try {
        most = Sentrel::GetMaxReportNames(ReadDaemonSettings(), SilentLogger());
    } catch (const std::exception&) {
        return;  // CheckSettings reports it
    }
    if (content.names.size() >= static_cast<std::size_t>(most)) {
        findings.push_back({Severity::Warning, kSubject,
                            Counted(content.names.size(), "name") +
                                ", as many as max_report_names allows: posts to new names are "
                                "answered with 500",
                            "remove names that nobody posts (sentrelctl forget NAME) or raise the "
                            "limit (sentrelctl config set sentrel.max_report_names NUMBER), then: "
                            "systemctl restart sentrel"});
    }
}

void CheckContent(const std::string& directory, const Content& content, Findings& findings) {
    if (!content.broken.empty()) {
        findings.push_back(
            {Severity::Warning, kSubject,
             "links without a file, so these reports are not served: " + Abridged(content.broken),
             "remove them, or wait for the next report of each name"});
    }
    if (const auto names = FindUnlinked(directory, content); !names.empty()) {
        findings.push_back(
            {Severity::Warning, kSubject,
             "stored without a link, so these reports are not served: " + Abridged(names),
             "they are served again after the next post of each name; if that does "
             "not help: df -i " +
                 directory});
    }
    if (!content.foreign.empty()) {
        findings.push_back({Severity::Notice, kSubject,
                            "not report files: " + Abridged(content.foreign),
                            "unless something needs them, remove them from " + directory});
    }
}

void CheckOwner(const Host& host, const struct stat& status, Findings& findings) {
    const std::string& directory = host.reportDirectory;
    const std::string user = NameOfUser(host.user.user);
    if (const auto fault = FindAccessFault(directory, host.user, R_OK | W_OK | X_OK)) {
        findings.push_back(
            {Severity::Error, kSubject, fault->text + ": every post is answered with 500",
             !fault->remedy.empty()
                 ? fault->remedy
                 : "chown " + user + " " + directory + "; chmod u+rwx " + directory});
    } else if (status.st_uid != host.user.user && host.user.user != 0) {
        findings.push_back({Severity::Warning, kSubject,
                            directory + " belongs to " + NameOfUser(status.st_uid) +
                                ", who can change the reports of the daemon's user, " + user,
                            "chown " + user + " " + directory});
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        findings.push_back({Severity::Warning, kSubject,
                            directory + " (" + OwnerAndMode(status) +
                                ") is writable by others, who can change the reports",
                            "chmod go-w " + directory});
    }
}

}  // namespace

void CheckReportDirectory(const Host& host, Findings& findings) {
    const std::string& directory = host.reportDirectory;
    if (!host.reportProblem.empty()) {
        findings.push_back({Severity::Error, kSubject, host.reportProblem,
                            "start it with -r and an absolute path, as the unit does"});
    }
    const std::optional<struct stat> status = StatOf(directory);
    if (!status) {
        findings.push_back(
            {Severity::Error, kSubject, directory + " is missing: every post is answered with 500",
             "install -d -m 0750 -o " + NameOfUser(host.user.user) + " " + directory});
        return;
    }
    const std::size_t before = findings.size();
    CheckOwner(host, *status, findings);
    CheckViewOfDaemon(host, *status, findings);
    const Content content = ReadContent(directory);
    CheckRoom(directory, content, findings);
    CheckNumberOfNames(content, findings);
    CheckContent(directory, content, findings);
    const bool isAllWell =
        std::none_of(findings.begin() + static_cast<std::ptrdiff_t>(before), findings.end(),
                     [](const Finding& finding) { return finding.severity > Severity::Notice; });
    if (isAllWell) {
        findings.push_back({Severity::Good, kSubject,
                            directory + " (" + OwnerAndMode(*status) +
                                "): " + Counted(content.names.size(), "name") + ", " +
                                Counted(content.storedFiles, "file") + ", " +
                                SizeText(content.storedBytes),
                            ""});
    }
}

}  // namespace Ctl
