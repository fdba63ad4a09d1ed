// What a command says beside its result, on standard error.
#pragma once

#include <string>

namespace Ctl {

// "sentrelctl: TEXT", a line of its own; nothing when the same has been said. One thread.
void NoteOnce(const std::string& text);

// From now on nothing is noted, for a command whose result tells all of it.
void SilenceNotes();

}  // namespace Ctl
