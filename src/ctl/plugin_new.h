// The sub-command "plugin new": a plugin to start from, with its configuration.
#pragma once

#include "ctl/command.h"

#include <array>
#include <iosfwd>

namespace Ctl {

inline constexpr std::array<Option, 3> kNewOptions = {{
    {"--language", "LANG", "sh (the default), python or cpp"},
    {"--frequency", "QUEUE", "fast (the default), medium or slow"},
    {"--directory", "DIR", "put the files into DIR instead"},
}};

void RunPluginNew(const Arguments& arguments, std::ostream& output);

}  // namespace Ctl
