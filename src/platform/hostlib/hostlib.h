// What the system calls of the host's utility library, under the library's own names.
#pragma once

#include <string>

// Prepares the process, without any output: descriptors 0 to 2 that are closed are opened on
// /dev/null, so that no file opened later becomes a standard stream, and a host root (SENTREL_ROOT)
// that cannot be used is refused. Called first, before any other thread. Throws
// std::runtime_error, whose text says what to do.
void FeatureState_InitSilentMode();

// Removes the entry at `path` itself, a link's target never; a directory is not removed. Returns 0,
// or the error number.
int File_UnlinkNoFollow(const std::string& path);

// printf into memory of the C allocator, which the caller releases with free. Never null: stops the
// process (Panic) when memory is out.
[[gnu::format(printf, 1, 2)]] char* Str_SafeAsprintf(const char* format, ...);

// A copy of `text` in memory of the C allocator, which the caller releases with free; null for
// null. Stops the process (Panic) when memory is out.
char* UtilSafeStrdup0(const char* text);

// Writes the formatted message to standard error, as it is, and aborts (SIGABRT). For broken set-up
// invariants only. The host's usual message is "VERIFY %s:%d\n" with source file and line.
[[noreturn, gnu::format(printf, 1, 2)]] void Panic(const char* format, ...);
