#include "ctl/show/note.h"

#include "ctl/show/printable.h"

#include <iostream>
#include <set>

namespace Ctl {

namespace {

bool sIsSilent = false;

}  // namespace

void SilenceNotes() { sIsSilent = true; }

void NoteOnce(const std::string& text) {
    static std::set<std::string> sSaid;
    if (!sIsSilent && sSaid.insert(text).second) {
        std::cerr << "sentrelctl: " << PrintableText(text) << '\n';
    }
}

}  // namespace Ctl
