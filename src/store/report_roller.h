// Stores the reports of one report name: receives each in a hidden temporary file, moves it into a
// ring of numbered files, and points the name's link at it. What a report says is not looked at.
//
//   DIRECTORY/.NAME-INDEX.json   the report being received
//   DIRECTORY/NAME-INDEX.json    a stored report; INDEX runs 0, 1, ... up to the file count, then 0
//   DIRECTORY/NAME.json          symbolic link to the newest stored report
#pragma once

#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/pellmar/system/file.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Sentrel {

// Has no lock: one thread at a time, which is the work queue of the name. Rollers of different
// names share no files.
class ReportRoller : public Pellmar::ObjectImpl {
  public:
    // `baseDirectory` ends in "/"; paths are built by appending to it. `maxFiles` is 1 to 10. Looks
    // at no file of the directory yet. Throws InvalidArgumentException when the name breaks the
    // rule of report names, or (logged at level 3) when the directory is none.
    ReportRoller(const std::string& baseDirectory, std::string_view reportName,
                 std::int32_t maxFiles, const Pellmar::Ref<Pellmar::Service::Logger>& logger);

    // Takes the next index of the ring and makes the new, empty temporary file of it. On true,
    // `writer` is open on the file and `file` names it: write the report, close the writer, then
    // call Rotate. On false the file could not be made, which is logged at level 3; the index stays
    // used up. The first call looks for stored reports of the name; where its name holds a ".", it
    // lists the directory, and throws IOException when that fails.
    bool OpenTemporaryReport(Pellmar::Ref<Pellmar::System::FileWriter>& writer,
                             Pellmar::Ref<Pellmar::System::File>& file);

    // Moves `temporaryFile`, of the last OpenTemporaryReport, into its place in the ring and points
    // the link at it; between the removal of the old link and the new one the name has no link.
    // Failures are logged at level 3. When the move fails the temporary file stays where it is and
    // the link as it was. What stands at the link's path and is no symbolic link stays.
    void Rotate(const Pellmar::Ref<Pellmar::System::File>& temporaryFile);

    // Whether a file of the name was found or created: this roller's index counts then.
    bool HasFiles() const { return hasFiles; }

  private:
    std::int32_t NextIndex();
    void FindHighestIndex();
    void FindHighestListedIndex();
    void RenewLink(const Pellmar::System::File& storedFile) const;

    const std::string baseDirectory;
    const std::string reportName;
    const std::int32_t maxFiles;
    // Of the most recently used file; -1 until the first report.
    std::int32_t index = -1;
    bool hasFiles = false;
    const std::string symlinkName;
    const Pellmar::Ref<Pellmar::Service::Logger> logger;
};

}  // namespace Sentrel
