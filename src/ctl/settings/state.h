// The settings of an entry, read from its two files and merged as the daemon does when it starts.
// settings/rules.h judges the values.
#pragma once

#include "ctl/settings/catalog.h"
#include "platform/tabulon/entry_files.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <vector>

namespace Ctl {

enum class Origin { Default, VendorFile, HostFile };

// "default", "vendor file", "host file".
std::string NameOf(Origin origin);

struct SettingState {
    const Setting* setting = nullptr;  // never null; points into the entry that was read
    SettingValue inEffect;             // the daemon's value
    Origin origin = Origin::Default;   // the source of inEffect
    // The value in the files, if it has the right type, and its file.
    std::optional<SettingValue> stored;
    Origin storedIn = Origin::Default;
    // A value of the wrong type, which counts as missing: the key that leads to it, and a text that
    // continues after it, "is a string, not ...". Empty otherwise.
    std::string faultyKey;
    std::string fault;
    // The JSON of this key in each file, whatever its type; nothing if the file lacks it.
    std::optional<std::string> vendorText;
    std::optional<std::string> hostText;
};

struct UnknownMember {
    std::string key;   // from the root of the document, "/" between levels
    std::string path;  // of the file that has it
};

struct FileFault {
    std::string text;       // includes the path of the file, line and column
    std::string advice;     // what to do with the file
    bool isDenied = false;  // this user may not read the file; the daemon may be able to
};

struct RepeatedName {
    std::string path;  // of the file
    std::string text;  // which member an object has twice
};

struct EntryState {
    Tabulon::EntryPaths paths;  // below the host root
    bool hasVendorFile = false;
    bool hasHostFile = false;
    // Why files cannot be used, one fault for each. All settings then have their defaults.
    std::vector<FileFault> faults;
    std::vector<SettingState> settings;  // in the catalogue's order
    std::vector<UnknownMember> unknown;
    std::vector<RepeatedName> repeated;  // at most one per file
};

// The result refers to `entry`. Faults of the files do not throw.
EntryState ReadEntryState(const SettingEntry& entry);

// The remark about the stored value or, without one, about the default.
Judgement JudgementOn(const SettingState& state);

// The value as JSON; null if there is none.
nlohmann::ordered_json ToJson(const SettingValue& value);

}  // namespace Ctl
