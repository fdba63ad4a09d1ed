// Creates the framework's configuration of a store entry from its JSON files. entry_files finds and
// reads the files; json_reader does the typed look-up.
#pragma once

#include "platform/pellmar/config.h"
#include "platform/pellmar/object.h"
#include "platform/tabulon/entry_files.h"

#include <vector>

namespace Tabulon {

// Both functions take a list of exactly one entry and read its files once; the returned object
// merges them in Initialize, which does not fail. Any other list, and a name that PathsOf refuses,
// throws Pellmar::InvalidArgumentException unless stated otherwise below.

// An entry without files is an empty configuration: every key is missing. Throws Pellmar::Exception
// or one of its kinds, with one line that names file, position and reason, when either file cannot
// be read or is not a JSON object.
Pellmar::Ref<Pellmar::Service::Config> CreateTabulonConfigWithFallbackToDefault(
    const std::vector<StoreEntry>& entries);

// `mayBeMissing`: an entry without any of the files asked for is an empty configuration instead of
// a failure. `useVendorFile`, `useHostFile`: whether to read this file. Throws
// Pellmar::NotFoundException for every failure: no file (the text names the entry and the paths), a
// broken file (the same text as above), or a name that PathsOf refuses.
Pellmar::Ref<Pellmar::Service::Config> CreateTabulonConfigWithSettings(
    const std::vector<StoreEntry>& entries, bool mayBeMissing, bool useVendorFile,
    bool useHostFile);

}  // namespace Tabulon
