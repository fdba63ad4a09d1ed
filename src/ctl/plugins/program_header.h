// The first bytes of a program, as the kernel's loader reads them: an ELF header, or the line of a
// script that names its interpreter:
//
//   #! INTERPRETER [ARGUMENT]      blanks around the words do not count; at most 255 bytes
#pragma once

#include <optional>
#include <string>

namespace Ctl {

struct ProgramHeader {
    enum class Kind { Empty, Script, Elf, Other };

    Kind kind = Kind::Other;
    std::string line = {};  // of a script, without its line feed
    bool isWholeLine = true;
    // Of an ELF file; 0 when it is too short.
    unsigned type = 0;        // ET_EXEC, ...
    unsigned machine = 0;     // EM_X86_64, ...
    std::string loader = {};  // the path of its dynamic loader; empty for a static program
};

// `file` stays at its place.
ProgramHeader ReadProgramHeader(int file);

// What is wrong, as a text that goes on after the file's path, and what to do.
struct HeaderFault {
    std::string text;
    std::string remedy;
};

// Why this machine could not run the program at `path`, in an empty environment and for any user;
// nothing when it could.
std::optional<HeaderFault> FindHeaderFault(const ProgramHeader& header, const std::string& path);

}  // namespace Ctl
