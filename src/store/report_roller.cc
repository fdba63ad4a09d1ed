// Each query of the file system is a system call for every post, so none is made twice.
#include "store/report_roller.h"

#include "platform/hostlib/hostlib.h"
#include "platform/pellmar/exceptions.h"
#include "platform/pellmar/system/system_factory.h"
#include "store/report_name.h"

#include <optional>

namespace Sentrel {

namespace {

using Pellmar::Ref;
using Pellmar::Service::LogInternal;
using Pellmar::System::File;
using Pellmar::System::FileWriter;
using Pellmar::System::SystemFactory;

constexpr int kNewFile = 0;
constexpr int kSymbolicLink = 1;
constexpr int kAllEntries = -1;
constexpr int kHighestIndex = 9;

bool IsStoredReport(const File& file) {
    return file.Exists() && !file.IsSymbolicLink() && !file.IsDirectory();
}

std::string Checked(std::string_view reportName) {
    std::string name(reportName);
    if (!IsReportName(name)) {
        throw Pellmar::InvalidArgumentException(
            "'" + name +
            "' contains unexpected regex meta characters                   (expected regex '" +
            std::string(kReportNameRule) + "')");
    }
    return name;
}

}  // namespace

ReportRoller::ReportRoller(const std::string& baseDirectory, std::string_view reportName,
                           std::int32_t maxFiles, const Ref<Pellmar::Service::Logger>& logger)
    : baseDirectory(baseDirectory),
      reportName(Checked(reportName)),
      maxFiles(maxFiles),
      symlinkName(baseDirectory + LinkName(reportName)),
      logger(logger) {
    LogInternal(logger, 7, "Report symlink-name: %1", symlinkName);
    if (!SystemFactory::GetFile(baseDirectory)->IsDirectory()) {
        LogInternal(logger, 3, "Invalid directory: %1", baseDirectory);
        throw Pellmar::InvalidArgumentException("'" + baseDirectory + "' is not a directory");
    }
    LogInternal(logger, 7, "Report name: %1, base directory: %2", reportName, baseDirectory);
}

bool ReportRoller::OpenTemporaryReport(Ref<FileWriter>& writer, Ref<File>& file) {
    const std::int32_t fileIndex = NextIndex();
    std::string path;
    try {
        path = baseDirectory + TemporaryFileName(reportName, fileIndex);
        writer = SystemFactory::CreateFileWriter(path, kNewFile);
    } catch (const Pellmar::Exception& exception) {
        LogInternal(logger, 3, {.report = reportName},
                    "Caught %1 while attempting to create file: %2", exception.what(), path);
        // The remaining entry blocks this index, so the next report has to take the next one.
        hasFiles = hasFiles || SystemFactory::GetFile(path)->Exists();
        return false;
    }
    hasFiles = true;
    file = SystemFactory::GetFile(path);
    LogInternal(logger, 6, {.report = reportName}, "Temporary report name: %1", path);
    return true;
}

void ReportRoller::Rotate(const Ref<File>& temporaryFile) {
    const std::string_view storedName = temporaryFile->GetName().substr(1);  // without the dot
    const std::string storedPath = std::string(baseDirectory).append(storedName);
    const Ref<File> storedFile = temporaryFile->Rename(storedPath);
    if (!storedFile) {
        LogFailedRename(*temporaryFile, storedPath);
        return;
    }
    RenewLink(*storedFile);
    LogInternal(logger, 7, "Rotated filename: %1", storedFile->GetName());
}

// Checks whether the file exists only now, since the rename of a missing one changes nothing.
void ReportRoller::LogFailedRename(const File& temporaryFile, const std::string& storedPath) const {
    if (temporaryFile.Exists()) {
        LogInternal(logger, 3, {.report = reportName}, "Failed to rename the file to %1",
                    storedPath);
    } else {
        LogInternal(logger, 3, "File object not present: %1", temporaryFile.ToString());
    }
}

void ReportRoller::RenewLink(const File& storedFile) const {
    // Covers a missing entry too, which is not a symbolic link.
    if (SystemFactory::GetFile(symlinkName)->IsSymbolicLink()) {
        (void)File_UnlinkNoFollow(symlinkName);  // the next step reports a remaining entry
    }
    storedFile.CreateSymbolicLink(symlinkName, kSymbolicLink);
}

std::int32_t ReportRoller::NextIndex() {
    if (index == -1) {
        FindHighestIndex();
    }
    index = (index + 1) % maxFiles;
    LogInternal(logger, 7, "Index: %1", index);
    return index;
}

// Checks the ten names that can match: the directory contains the files of every name, so listing
// it for each takes long. A "." in the name matches any byte; only a listing finds those files.
void ReportRoller::FindHighestIndex() {
    if (reportName.find('.') != std::string::npos) {
        FindHighestListedIndex();
    } else {
        for (int digit = kHighestIndex; digit >= 0 && index == -1; --digit) {
            const Ref<File> file =
                SystemFactory::GetFile(baseDirectory + StoredFileName(reportName, digit));
            index = IsStoredReport(*file) ? digit : -1;
        }
    }
    hasFiles = index != -1;
    if (index >= maxFiles) {
        index = -1;  // files of a larger ring
    }
}

void ReportRoller::FindHighestListedIndex() {
    for (const Ref<File>& entry : SystemFactory::GetFile(baseDirectory)->List(kAllEntries)) {
        // Checks the name first: the type of an entry costs a system call.
        const std::optional<int> found = MatchesStoredFile(reportName, entry->GetName());
        if (found && *found > index && IsStoredReport(*entry)) {
            index = *found;
        }
    }
}

}  // namespace Sentrel
