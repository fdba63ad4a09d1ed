// The two JSON files of a store entry, their paths and their text:
//
//   /usr/lib/korvex/tabulon/<component>/<group>/<key>.json    vendor defaults
//   /etc/korvex/tabulon/<component>/<group>/<key>.json        the host's values
//
// json_config merges them and reads settings from them.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Tabulon {

// The longest accepted store file.
inline constexpr std::size_t kMaxFileBytes = 1024 * 1024;

// The name of a store entry, five strings. `first` and `last` are empty.
struct StoreEntry {
    std::string first;
    std::string key;
    std::string group;
    std::string component;
    std::string last;
};

// The plain paths, for messages; HostPath is applied when a file is opened.
struct EntryPaths {
    std::string vendor;
    std::string host;
};

// "<component>/<group>/<key>", for messages.
std::string EntryName(const StoreEntry& entry);

// Throws Pellmar::InvalidArgumentException when `first` or `last` is not empty, or another part
// cannot name a file or directory of the store: empty, ".", "..", containing "/" or a NUL byte.
EntryPaths PathsOf(const StoreEntry& entry);

// The bytes of the file at the plain path `path`, at most kMaxFileBytes; nothing if it does not
// exist. Throws Pellmar::IOException when the path exists but cannot be read whole: permission
// denied, not a regular file, a dangling link, too long.
std::optional<std::string> ReadEntryFile(const std::string& path);

// Parses `text` as a JSON object, comments allowed. Throws Pellmar::Exception with the line
// "<path>:<line>:<column>: <reason>" when it is anything else.
nlohmann::json ParseEntryText(const std::string& path, std::string_view text);

}  // namespace Tabulon
