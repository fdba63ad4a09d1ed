// The configuration store of this test program: one temporary host root for all its tests, which
// SENTREL_ROOT names before the first of them runs. Each test uses keys of its own.
#pragma once

#include "platform/tabulon/entry_files.h"

#include <string>
#include <string_view>

namespace Test {

// Entry `key` of group "health" and component "oru".
Tabulon::StoreEntry EntryOf(std::string_view key);

// The plain paths of its two files, and these below the root.
std::string VendorPath(std::string_view key);
std::string HostPath(std::string_view key);
std::string BelowRoot(const std::string& plainPath);

// Make the file, or replace it. Throw std::system_error.
void WriteVendorFile(std::string_view key, std::string_view text);
void WriteHostFile(std::string_view key, std::string_view text);

}  // namespace Test
