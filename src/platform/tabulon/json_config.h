// The configuration store as the framework sees it: makes the configuration of an entry out of its
// JSON files. Where these are and how they are read is entry_files' business; the typed look-up is
// json_reader's.
#pragma once

#include "platform/pellmar/config.h"
#include "platform/pellmar/object.h"
#include "platform/tabulon/entry_files.h"

#include <vector>

namespace Tabulon {

// Both calls take a list of exactly one entry and read its files, once; the returned object merges
// them in Initialize, which does not fail. Any other list, and a name that PathsOf refuses, is a
// Pellmar::InvalidArgumentException unless said otherwise below.

// An entry with neither file is an empty configuration: every key is missing. Throws
// Pellmar::Exception or one of its kinds, a one-line text that names file, place and reason, when
// a file cannot be read or is no JSON object, whatever the other file holds.
Pellmar::Ref<Pellmar::Service::Config> CreateTabulonConfigWithFallbackToDefault(
    const std::vector<StoreEntry>& entries);

// `mayBeMissing`: an entry with none of the files asked for is an empty configuration, instead of a
// failure. `useVendorFile`, `useHostFile`: whether this file counts; one that does not is not read.
// Throws Pellmar::NotFoundException when the entry cannot be provided, whatever the reason: no file
// (the text names the entry and the paths), a broken file (the same text as above), or a name that
// PathsOf refuses.
Pellmar::Ref<Pellmar::Service::Config> CreateTabulonConfigWithSettings(
    const std::vector<StoreEntry>& entries, bool mayBeMissing, bool useVendorFile,
    bool useHostFile);

}  // namespace Tabulon
