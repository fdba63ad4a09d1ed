// Settings as a person names them: "ENTRY.KEY", such as "sentrel.http_port".
#pragma once

#include "ctl/settings/catalog.h"

#include <string>

namespace Ctl {

std::string FullName(const SettingEntry& entry, const Setting& setting);

struct NamedSetting {
    const SettingEntry& entry;
    const Setting& setting;
};

// The key begins behind the last dot, since names of plugins may have dots. Throws
// Failure that says which settings there are when `name` is none of them.
NamedSetting FindSetting(const Catalogue& catalogue, const std::string& name);

}  // namespace Ctl
