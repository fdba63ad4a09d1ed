// Notes of a command on standard error, besides its result.
#pragma once

#include <string>

namespace Ctl {

// Prints "sentrelctl: TEXT" as a line, once per text. Not thread-safe.
void NoteOnce(const std::string& text);

// Suppresses all further notes, for a command whose result contains them.
void SilenceNotes();

}  // namespace Ctl
