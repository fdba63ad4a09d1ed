// What the system calls of the host's utility library, under the library's own names.
#pragma once

#include <string>

// Prepares the process, without any output: descriptors 0 to 2 that are closed are opened on
// /dev/null, and a host root (SENTREL_ROOT) that cannot be used is refused by a std::exception.
// Called first.
void FeatureState_InitSilentMode();

// Removes the entry at `path` itself, a link's target never. Returns 0, or the error number.
int File_UnlinkNoFollow(const std::string& path);

// printf into memory of the C allocator, released with free. Never null: stops the process when
// memory is out.
[[gnu::format(printf, 1, 2)]] char* Str_SafeAsprintf(const char* format, ...);

// A copy of `text` in memory of the C allocator, released with free; null for null. Never fails
// otherwise.
char* UtilSafeStrdup0(const char* text);

// Writes the formatted message to standard error and aborts (SIGABRT).
[[noreturn, gnu::format(printf, 1, 2)]] void Panic(const char* format, ...);
