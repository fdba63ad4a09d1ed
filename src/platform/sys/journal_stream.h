// Whether a descriptor leads to the systemd journal, which takes the priority of a line from a
// prefix such as "<3>" (sd-daemon(3)).
#pragma once

#include <string_view>

namespace Sys {

// The value of the environment variable JOURNAL_STREAM: "DEVICE:INODE" in decimal, or empty.
std::string_view JournalStream();

// Whether `journalStream` names what `descriptor` is open on. False for a closed descriptor.
bool IsJournal(int descriptor, std::string_view journalStream);

// What an error line on standard error begins with where no logger writes it: "<3>" when that is
// the journal, else nothing.
const char* ErrorPrefix();

}  // namespace Sys
