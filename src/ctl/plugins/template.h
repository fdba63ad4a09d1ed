// The texts of new plugins, embedded from templates/. Each is complete, keeps the whole plugin
// contract and needs only what every host has; "@NAME@" stands for the plugin's name.
#pragma once

#include <string_view>

namespace Ctl {

extern const std::string_view kShellPlugin;
extern const std::string_view kPythonPlugin;
extern const std::string_view kCppPlugin;  // a source

}  // namespace Ctl
