// Stores the reports of one report name: receives each in a hidden temporary file, moves it into a
// ring of numbered files, and points the name's link at it. Does not look at the content.
//
//   DIRECTORY/.NAME-INDEX.json   the report being received
//   DIRECTORY/NAME-INDEX.json    a stored report; INDEX runs from 0 to the file count - 1, then 0
//   DIRECTORY/NAME.json          symbolic link to the newest stored report
#pragma once

#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/pellmar/system/file.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Sentrel {

// Has no lock: one thread at a time, on the work queue of the name. Rollers of different names
// share no files.
class ReportRoller : public Pellmar::ObjectImpl {
  public:
    // `baseDirectory` ends in "/", since paths are built by appending to it. `maxFiles` is 1 to 10.
    // Does not look at the directory's files yet. Throws InvalidArgumentException if the name
    // violates the rule for report names, or (logged at level 3) if `baseDirectory` is not a
    // directory.
    ReportRoller(const std::string& baseDirectory, std::string_view reportName,
                 std::int32_t maxFiles, const Pellmar::Ref<Pellmar::Service::Logger>& logger);

    // Takes the next index of the ring and creates its new, empty temporary file. On true, `writer`
    // is open on the file and `file` refers to it: write the report, close the writer, then call
    // Rotate. On false the file could not be created, which is logged at level 3; the index is used
    // up. The first call looks for stored reports of the name; if the name contains a ".", that
    // lists the directory, and throws IOException on failure.
    bool OpenTemporaryReport(Pellmar::Ref<Pellmar::System::FileWriter>& writer,
                             Pellmar::Ref<Pellmar::System::File>& file);

    // Moves `temporaryFile`, from the last OpenTemporaryReport, to its place in the ring and points
    // the link at it; between removing the old link and creating the new one the name has no link.
    // Failures are logged at level 3. If the move fails, the temporary file and the link stay
    // unchanged. An entry at the link's path that is not a symbolic link stays.
    void Rotate(const Pellmar::Ref<Pellmar::System::File>& temporaryFile);

    // Whether a file of the name was found or created, so that this roller's index matters.
    bool HasFiles() const { return hasFiles; }

  private:
    std::int32_t NextIndex();
    void FindHighestIndex();
    void FindHighestListedIndex();
    void LogFailedRename(const Pellmar::System::File& temporaryFile,
                         const std::string& storedPath) const;
    void RenewLink(const Pellmar::System::File& storedFile) const;

    const std::string baseDirectory;
    const std::string reportName;
    const std::int32_t maxFiles;
    // The index of the most recently used file; -1 until the first report.
    std::int32_t index = -1;
    bool hasFiles = false;
    const std::string symlinkName;
    const Pellmar::Ref<Pellmar::Service::Logger> logger;
};

}  // namespace Sentrel
