// The functions of the host's utility library that the system calls, under their own names.
#pragma once

#include <string>

// Prepares the process and prints nothing: opens /dev/null on each closed descriptor from 0 to 2,
// so that no file opened later becomes a standard stream, and checks the host root (SENTREL_ROOT).
// Call it first, before any thread starts. Throws std::runtime_error, whose text says what to do,
// when the host root is unusable or /dev/null cannot be opened.
void FeatureState_InitSilentMode();

// Removes the entry at `path` itself, never a link's target; fails for a directory. Returns 0 or
// the error number.
int File_UnlinkNoFollow(const std::string& path);

// printf into memory from malloc, which the caller frees. Never null: stops the process (Panic)
// when memory is exhausted.
[[gnu::format(printf, 1, 2)]] char* Str_SafeAsprintf(const char* format, ...);

// Copies `text` into memory from malloc, which the caller frees; returns null for null. Stops the
// process (Panic) when memory is exhausted.
char* UtilSafeStrdup0(const char* text);

// Writes the formatted message to standard error and aborts (SIGABRT). For broken set-up invariants
// only. The host's usual message is "VERIFY %s:%d\n" with source file and line.
[[noreturn, gnu::format(printf, 1, 2)]] void Panic(const char* format, ...);
