// The sub-command "plugin new", which creates a complete plugin and its configuration.
#pragma once

#include "ctl/command/command.h"
#include "plugins/discovery.h"

#include <array>
#include <iosfwd>

namespace Ctl {

inline constexpr std::array<const char*, 3> kPluginLanguages = {"sh", "python", "cpp"};

inline constexpr std::array<Option, 4> kNewOptions = {{
    {"--language", "LANG", "sh (the default), python or cpp", Completes::Nothing, kPluginLanguages},
    {"--frequency", "QUEUE", "fast (the default), medium or slow", Completes::Nothing,
     Sentrel::kQueueNames},
    {"--directory", "DIR", "put the files into DIR instead", Completes::Directory},
    {"--wrap", "", "run the check COMMAND, given after --, as the plugin"},
}};

void RunPluginNew(const Arguments& arguments, std::ostream& output);

}  // namespace Ctl
