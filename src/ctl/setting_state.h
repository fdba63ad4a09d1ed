// What the two files of an entry say of its settings, read and merged as the daemon does it at its
// start. Judging the values is setting_rules' business.
#pragma once

#include "ctl/setting_catalog.h"
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
    const Setting* setting = nullptr;  // never null; of the entry that was read
    SettingValue inEffect;             // what the daemon takes
    Origin origin = Origin::Default;   // where that comes from
    // What the files say, when it is of the right type, and which one says it.
    std::optional<SettingValue> stored;
    Origin storedIn = Origin::Default;
    // Why it is of a wrong one, so that it counts as missing; empty when it is not.
    std::string fault;
    // What each file has for this key, whatever it is, as JSON; nothing when it has nothing.
    std::optional<std::string> vendorText;
    std::optional<std::string> hostText;
};

struct UnknownMember {
    std::string key;   // from the root of the document, "/" between levels
    std::string path;  // the plain path of the file that has it
};

struct EntryState {
    Tabulon::EntryPaths paths;
    bool hasVendorFile = false;
    bool hasHostFile = false;
    // Why a file cannot be used, with path and place, one each. Then all settings have defaults.
    std::vector<std::string> faults;
    std::vector<SettingState> settings;  // in the catalogue's order
    std::vector<UnknownMember> unknown;
};

// Refers to `entry`. Does not throw for what the files are like.
EntryState ReadEntryState(const SettingEntry& entry);

// As JSON: null for none.
nlohmann::ordered_json ToJson(const SettingValue& value);

}  // namespace Ctl
