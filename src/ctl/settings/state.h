// What the two files of an entry say of its settings, read and merged as the daemon does it at its
// start. Judging the values is setting_rules' business.
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
    const Setting* setting = nullptr;  // never null; of the entry that was read
    SettingValue inEffect;             // what the daemon takes
    Origin origin = Origin::Default;   // where that comes from
    // What the files say, when it is of the right type, and which one says it.
    std::optional<SettingValue> stored;
    Origin storedIn = Origin::Default;
    // How it is of a wrong one, so that it counts as missing: the key that leads to what is wrong,
    // and what goes on after it, "is a string, not ...". Empty when it is not.
    std::string faultyKey;
    std::string fault;
    // What each file has for this key, whatever it is, as JSON; nothing when it has nothing.
    std::optional<std::string> vendorText;
    std::optional<std::string> hostText;
};

struct UnknownMember {
    std::string key;   // from the root of the document, "/" between levels
    std::string path;  // the plain path of the file that has it
};

struct FileFault {
    std::string text;    // with the path of the file, and the place
    std::string advice;  // what to do with the file
};

struct EntryState {
    Tabulon::EntryPaths paths;
    bool hasVendorFile = false;
    bool hasHostFile = false;
    // Why files cannot be used, one each. Then all settings have their defaults.
    std::vector<FileFault> faults;
    std::vector<SettingState> settings;  // in the catalogue's order
    std::vector<UnknownMember> unknown;
};

// Refers to `entry`. Does not throw for what the files are like.
EntryState ReadEntryState(const SettingEntry& entry);

// As JSON: null for none.
nlohmann::ordered_json ToJson(const SettingValue& value);

}  // namespace Ctl
