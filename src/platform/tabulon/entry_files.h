// The two JSON files of a store entry, where they are and what they hold:
//
//   /usr/lib/korvex/tabulon/<component>/<group>/<key>.json    vendor defaults
//   /etc/korvex/tabulon/<component>/<group>/<key>.json        the host's values
//
// Merging them and reading settings from them is json_config's business.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Tabulon {

// A store file may be this long.
inline constexpr std::size_t kMaxFileBytes = 1024 * 1024;

// The name of an entry of the store, five strings. `first` and `last` are empty.
struct StoreEntry {
    std::string first;
    std::string key;
    std::string group;
    std::string component;
    std::string last;
};

// The plain paths, for messages; HostPath is applied where a file is opened.
struct EntryPaths {
    std::string vendor;
    std::string host;
};

// "<component>/<group>/<key>", for messages.
std::string EntryName(const StoreEntry& entry);

// Throws Pellmar::InvalidArgumentException when `first` or `last` is not empty, or when one of the
// others cannot name a file or folder of the store: empty, ".", "..", with "/" or with a NUL byte.
EntryPaths PathsOf(const StoreEntry& entry);

// The bytes of the file at the plain path `path`, at most kMaxFileBytes; nothing when there is no
// file. Throws Pellmar::IOException when something is there that cannot be read whole: no
// permission, no regular file, a link to nothing, too long.
std::optional<std::string> ReadEntryFile(const std::string& path);

// The JSON object that `text` holds, comments allowed. Throws Pellmar::Exception with the one line
// "<path>:<line>:<column>: <reason>" when it is something else.
nlohmann::json ParseEntryText(const std::string& path, std::string_view text);

}  // namespace Tabulon
