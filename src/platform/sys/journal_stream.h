// Detects whether a descriptor is connected to the systemd journal, which takes a line's priority
// from a prefix such as "<3>" (sd-daemon(3)).
#pragma once

#include <string_view>

namespace Sys {

// The value of the environment variable JOURNAL_STREAM: "DEVICE:INODE" in decimal, or empty.
std::string_view JournalStream();

// Whether `descriptor` is the stream that `journalStream` names. False for a closed descriptor.
bool IsJournal(int descriptor, std::string_view journalStream);

// The prefix for an error line that goes to standard error without a logger: "<3>" if standard
// error is the journal, otherwise empty.
const char* ErrorPrefix();

}  // namespace Sys
