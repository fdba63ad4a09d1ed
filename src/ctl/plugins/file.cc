#include "ctl/plugins/file.h"

#include "ctl/plugins/program_header.h"
#include "platform/sys/owned_fd.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ctl {

namespace {

bool IsMember(const RunUser& user, gid_t group) {
    return user.group == group ||
           std::find(user.groups.begin(), user.groups.end(), group) != user.groups.end();
}

// Whether the file's mode grants that user the permission, S_IRUSR or S_IXUSR.
bool Permits(const struct stat& status, const RunUser& user, mode_t permission) {
    constexpr mode_t kAnyExecute = S_IXUSR | S_IXGRP | S_IXOTH;
    if (user.user == 0) {
        return permission != S_IXUSR || (status.st_mode & kAnyExecute) != 0;
    }
    const unsigned shift = status.st_uid == user.user ? 0 : IsMember(user, status.st_gid) ? 3 : 6;
    return (status.st_mode & (permission >> shift)) != 0;
}

// Why `path` cannot be opened, from the error number.
Finding ExplainMissing(const std::string& subject, const std::string& path, int errorNumber) {
    std::error_code error;
    const std::string target = std::filesystem::read_symlink(path, error);
    if (error) {
        return {Severity::Error, subject,
                "cannot inspect " + path + ": " + std::generic_category().message(errorNumber),
                "run this as root"};
    }
    const std::string remedy = "point it at the program: ln -sfn PROGRAM " + path;
    if (errorNumber == ELOOP) {
        return {Severity::Error, subject, path + " is a link that leads to itself", remedy};
    }
    return {Severity::Error, subject,
            path + " is a link to " + target +
                (errorNumber == ENOENT ? ", which is missing"
                                       : ": " + std::generic_category().message(errorNumber)),
            remedy};
}

std::vector<Finding> CheckPermissions(const std::string& subject, const std::string& path,
                                      const struct stat& status, const RunUser& user,
                                      bool isScript) {
    const auto refuse = [&](const std::string& what) -> std::vector<Finding> {
        return {
            {Severity::Error, subject,
             path + " " + what + " by the user " + NameOfUser(user.user) + ", which plugins run as",
             "chmod 755 " + path}};
    };
    if (!Permits(status, user, S_IXUSR)) {
        return refuse("cannot be executed");
    }
    if (isScript && !Permits(status, user, S_IRUSR)) {
        return refuse("is a script and cannot be read");
    }
    return {};
}

void CheckOne(const std::string& subject, const std::string& path, const RunUser& user,
              std::vector<Finding>& findings) {
    struct stat status{};
    if (::stat(path.c_str(), &status) != 0) {
        return;
    }
    if (status.st_uid != 0 && status.st_uid != user.user) {
        findings.push_back({Severity::Warning, subject,
                            path + " belongs to " + NameOfUser(status.st_uid) +
                                ", who can change what the daemon runs",
                            "chown root: " + path});
    }
    const bool byAll = (status.st_mode & S_IWOTH) != 0;
    if (byAll || (status.st_mode & S_IWGRP) != 0) {
        findings.push_back({Severity::Warning, subject,
                            path + " is writable by " + (byAll ? "everybody" : "its group") +
                                ", who can change what the daemon runs",
                            "chmod go-w " + path});
    }
}

}  // namespace

std::vector<Finding> CheckExecutable(const std::string& subject, const std::string& path,
                                     const RunUser& user) {
    struct stat status{};
    if (::stat(path.c_str(), &status) != 0) {
        return {ExplainMissing(subject, path, errno)};
    }
    if (!S_ISREG(status.st_mode)) {
        return {{Severity::Error, subject,
                 path + " is not a regular file, so it cannot be executed",
                 "replace it with a program or script"}};
    }
    const Sys::OwnedFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.IsOpen()) {
        std::vector<Finding> findings = CheckPermissions(subject, path, status, user, false);
        findings.push_back({Severity::Notice, subject,
                            "cannot read " + path + ", so its content was not inspected",
                            "run this as root"});
        return findings;
    }
    const ProgramHeader header = ReadProgramHeader(file.Get());
    std::vector<Finding> findings =
        CheckPermissions(subject, path, status, user, header.kind == ProgramHeader::Kind::Script);
    if (const std::optional<HeaderFault> fault = FindHeaderFault(header, path)) {
        findings.push_back({Severity::Error, subject, path + " " + fault->text, fault->remedy});
    }
    return findings;
}

std::vector<Finding> CheckOwnership(const std::string& subject, const std::string& path,
                                    const RunUser& user) {
    std::vector<Finding> findings;
    CheckOne(subject, path, user, findings);
    std::error_code error;  // an error means that it is not a link
    const std::filesystem::path target = std::filesystem::canonical(path, error);
    const std::filesystem::path parent = std::filesystem::path(path).parent_path();
    const std::filesystem::path place = std::filesystem::canonical(parent, error);
    if (!error && target.parent_path() != place) {
        CheckOne(subject, target.parent_path(), user, findings);
    }
    return findings;
}

}  // namespace Ctl
