#include "platform/sys/journal_stream.h"

#include <cstdlib>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

namespace Sys {

std::string_view JournalStream() {
    const char* const value = std::getenv("JOURNAL_STREAM");
    return value != nullptr ? std::string_view(value) : std::string_view();
}

bool IsJournal(int descriptor, std::string_view journalStream) {
    struct stat status{};
    return !journalStream.empty() && ::fstat(descriptor, &status) == 0 &&
           journalStream == std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
}

const char* ErrorPrefix() { return IsJournal(STDERR_FILENO, JournalStream()) ? "<3>" : ""; }

}  // namespace Sys
