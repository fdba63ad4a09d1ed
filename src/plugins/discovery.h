// The texts of a plugin's configuration and what they select.
#pragma once

#include "plugins/plugin.h"

#include <string>

namespace Sentrel {

// Every entry of this directory that is not a directory is a plugin.
inline constexpr const char* kPluginDirectory = "/usr/lib/korvex/sentrel/plugins/bin/";

// Sets the queue whose name `text` begins with, in any case; the fast queue for any other text.
void SetFrequency(PluginInfo& info, const std::string& text);

// Sets the log level whose name `text` begins with, in any case; any other text changes nothing.
void SetLogLevel(PluginInfo& info, const std::string& text);

}  // namespace Sentrel
