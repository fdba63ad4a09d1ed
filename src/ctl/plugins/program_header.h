// The header of a program, as the kernel's loader reads it: an ELF header, or the first line of a
// script, which names its interpreter:
//
//   #! INTERPRETER [ARGUMENT]      blanks around the words do not count; at most 255 bytes
#pragma once

#include <optional>
#include <string>

namespace Ctl {

struct ProgramHeader {
    enum class Kind { Empty, Script, Elf, Other };

    Kind kind = Kind::Other;
    std::string line = {};  // the first line of a script, without its line feed
    bool isWholeLine = true;
    // From an ELF header; 0 if the file is too short.
    unsigned type = 0;        // ET_EXEC, ...
    unsigned machine = 0;     // EM_X86_64, ...
    std::string loader = {};  // the path of the dynamic loader; empty for a static program
};

// Does not change the position of `file`.
ProgramHeader ReadProgramHeader(int file);

// The fault, as a text that continues after the file's path, and what to do.
struct HeaderFault {
    std::string text;
    std::string remedy;
};

// Why this machine cannot run the program at `path` with an empty environment, for any user;
// nothing if it can.
std::optional<HeaderFault> FindHeaderFault(const ProgramHeader& header, const std::string& path);

}  // namespace Ctl
