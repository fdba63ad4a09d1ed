// Finds settings by the name that a person uses: "ENTRY.KEY", such as "sentrel.http_port".
#pragma once

#include "ctl/settings/catalog.h"

#include <string>

namespace Ctl {

std::string FullName(const SettingEntry& entry, const Setting& setting);

struct NamedSetting {
    const SettingEntry& entry;
    const Setting& setting;
};

// The key begins after the last dot, since names of plugins may contain dots. Throws Failure, which
// lists the settings, if `name` is not one.
NamedSetting FindSetting(const Catalogue& catalogue, const std::string& name);

}  // namespace Ctl
