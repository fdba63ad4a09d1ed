// The texts of new plugins, from the files in templates/. Each is complete, keeps the whole plugin
// contract and needs nothing that a host lacks; "@NAME@" in it stands for the plugin's name.
#pragma once

#include <string_view>

namespace Ctl {

extern const std::string_view kShellPlugin;
extern const std::string_view kPythonPlugin;
extern const std::string_view kCppPlugin;  // a source

}  // namespace Ctl
