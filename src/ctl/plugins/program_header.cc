#include "ctl/plugins/program_header.h"

#include "platform/sys/host_root.h"
#include "platform/sys/owned_fd.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

#include <elf.h>
#include <fcntl.h>
#include <unistd.h>

namespace Ctl {

namespace {

constexpr std::size_t kLineBytes = 255;  // the part of a script that the kernel reads
constexpr std::size_t kMaxLoaderPath = 4096;
constexpr std::string_view kBlanks = " \t";

std::string ReadAt(int file, std::size_t size, std::size_t offset) {
    std::string bytes(size, '\0');
    const ssize_t count = ::pread(file, bytes.data(), size, static_cast<off_t>(offset));
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
}

template <typename Record>
bool ReadRecord(int file, std::size_t offset, Record& record) {
    const std::string bytes = ReadAt(file, sizeof(record), offset);
    if (bytes.size() < sizeof(record)) {
        return false;
    }
    std::memcpy(&record, bytes.data(), sizeof(record));
    return true;
}

std::string ReadLoader(int file, const Elf64_Ehdr& header) {
    for (std::size_t index = 0; index < header.e_phnum; ++index) {
        Elf64_Phdr segment{};
        if (!ReadRecord(file, header.e_phoff + index * sizeof(segment), segment)) {
            break;
        }
        if (segment.p_type == PT_INTERP && segment.p_filesz <= kMaxLoaderPath) {
            return ReadAt(file, segment.p_filesz, segment.p_offset).c_str();  // up to its NUL
        }
    }
    return "";
}

void ReadElf(int file, ProgramHeader& program) {
    Elf64_Ehdr header{};
    if (!ReadRecord(file, 0, header)) {
        return;  // too short for an ELF header; machine stays 0
    }
    program.type = header.e_type;
    program.machine = header.e_machine;
    if (header.e_ident[EI_CLASS] == ELFCLASS64) {
        program.loader = ReadLoader(file, header);
    }
}

unsigned OwnMachine() {
    const Sys::OwnedFd own(::open("/proc/self/exe", O_RDONLY | O_CLOEXEC));
    return own.IsOpen() ? ReadProgramHeader(own.Get()).machine : 0;
}

// Processors also run programs of their 32-bit predecessors, if the kernel supports it.
bool MayRun(unsigned machine, unsigned own) {
    return machine == own || (own == EM_X86_64 && machine == EM_386) ||
           (own == EM_AARCH64 && machine == EM_ARM);
}

bool IsProgram(const std::string& path) { return ::access(path.c_str(), X_OK) == 0; }

// The kernel looks up interpreters and loaders from "/", not from the host root.
std::optional<HeaderFault> FindMissing(const std::string& what, const std::string& path) {
    if (IsProgram(path)) {
        return std::nullopt;
    }
    const bool isThere = ::access(path.c_str(), F_OK) == 0;
    const bool isBelowRoot = IsProgram(Sys::HostPath(path));
    return HeaderFault{"needs the " + what + " " + path + ", which " +
                           (isThere       ? "cannot be executed"
                            : isBelowRoot ? "exists only below the host root, not on this machine"
                                          : "is missing"),
                       isBelowRoot ? "run it on the host that this root belongs to"
                                   : "install it, or name another one"};
}

// Without PATH, "env" searches the system's default path.
std::optional<HeaderFault> FindEnvFault(const std::string& interpreter,
                                        const std::string& argument) {
    if (!interpreter.ends_with("/env") || argument.empty() || argument.starts_with("-S")) {
        return std::nullopt;
    }
    if (argument.find_first_of(kBlanks) != std::string::npos) {
        return HeaderFault{"makes env look for a program named \"" + argument +
                               "\": the kernel passes it all as one argument",
                           "write #!" + interpreter + " -S " + argument};
    }
    if (argument.find('/') == std::string::npos && !IsProgram("/usr/bin/" + argument) &&
        !IsProgram("/bin/" + argument)) {
        return HeaderFault{"makes env look for " + argument +
                               ", which is neither in /usr/bin nor in /bin, and plugins have no "
                               "other PATH",
                           "install it there, or name its full path in the first line"};
    }
    return std::nullopt;
}

std::optional<HeaderFault> FindLineFault(const ProgramHeader& header, const std::string& path) {
    if (header.line.ends_with('\r')) {
        return HeaderFault{"has lines that end in CR LF, so that its interpreter is not found",
                           "sed -i 's/\\r$//' " + path};
    }
    const std::size_t begin = header.line.find_first_not_of(kBlanks, 2);
    if (begin == std::string::npos || header.line[begin] != '/') {
        return HeaderFault{"does not name an interpreter by its full path in its first line",
                           "write #!/bin/sh or the like"};
    }
    const std::size_t end = header.line.find_first_of(kBlanks, begin);
    if (!header.isWholeLine && end == std::string::npos) {
        return HeaderFault{"has a first line longer than " + std::to_string(kLineBytes) +
                               " bytes, which the kernel does not read",
                           "name an interpreter with a shorter path"};
    }
    const std::string interpreter = header.line.substr(begin, end - begin);
    std::string argument;
    if (const std::size_t next = header.line.find_first_not_of(kBlanks, end);
        end != std::string::npos && next != std::string::npos) {
        argument = header.line.substr(next, header.line.find_last_not_of(kBlanks) - next + 1);
    }
    const std::optional<HeaderFault> missing = FindMissing("interpreter", interpreter);
    return missing ? missing : FindEnvFault(interpreter, argument);
}

std::optional<HeaderFault> FindElfFault(const ProgramHeader& header) {
    if (!MayRun(header.machine, OwnMachine())) {
        return HeaderFault{"is an ELF file for another processor", "build it for this machine"};
    }
    if (header.type != ET_EXEC && header.type != ET_DYN) {
        return HeaderFault{"is an ELF file but not a program", "link it as an executable"};
    }
    return header.loader.empty() ? std::nullopt : FindMissing("dynamic loader", header.loader);
}

}  // namespace

ProgramHeader ReadProgramHeader(int file) {
    ProgramHeader header;
    const std::string start = ReadAt(file, kLineBytes, 0);
    if (start.empty()) {
        header.kind = ProgramHeader::Kind::Empty;
    } else if (start.starts_with("#!")) {
        header.kind = ProgramHeader::Kind::Script;
        const std::size_t end = start.find('\n');
        header.line = start.substr(0, end);
        header.isWholeLine = end != std::string::npos || start.size() < kLineBytes;
    } else if (start.starts_with(ELFMAG)) {
        header.kind = ProgramHeader::Kind::Elf;
        ReadElf(file, header);
    }
    return header;
}

std::optional<HeaderFault> FindHeaderFault(const ProgramHeader& header, const std::string& path) {
    switch (header.kind) {
        case ProgramHeader::Kind::Script:
            return FindLineFault(header, path);
        case ProgramHeader::Kind::Elf:
            return FindElfFault(header);
        case ProgramHeader::Kind::Empty:
            return HeaderFault{"is empty", "install the program, with mv"};
        default:
            return HeaderFault{"is neither an ELF program nor a script that begins with \"#!\"",
                               "write #!/bin/sh or the like as its first line"};
    }
}

}  // namespace Ctl
