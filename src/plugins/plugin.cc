#include "plugins/plugin.h"

#include "core/settings/settings.h"
#include "platform/hostlib/hostlib.h"
#include "platform/pellmar/service/app.h"
#include "plugins/resource_group.h"

#include <cstdlib>

namespace Sentrel {

using Pellmar::Ref;
using Pellmar::Service::ConfigReader;
using Pellmar::Service::GetApp;
using Pellmar::Service::Logger;

namespace {

constexpr const char* kGroupArgument = "++group=sentrel-plugins,mem=";
constexpr const char* kIntakeAddress = "http://localhost";

}  // namespace

std::int32_t Plugin::sResourcePoolSizeMB = kDefaultResourcePoolSizeMB;

Plugin::Plugin(const PluginInfo& info) : Plugin(info, GetApp().GetConfig()->GetReader()) {}

Plugin::Plugin(const PluginInfo& info, const Ref<ConfigReader>& settings)
    : info(info), logger(Logger::CreateLogger(Logger::sDefaultLogger, "Plugin")) {
    ComposeCommandLine(GetHttpPort(settings, logger));
}

Plugin::~Plugin() {
    for (char* argument : argv) {
        std::free(argument);
    }
}

void Plugin::ComposeCommandLine(std::int32_t port) {
    argv.push_back(UtilSafeStrdup0(info.path.c_str()));
    argv.push_back(Str_SafeAsprintf("%s%d", kGroupArgument, sResourcePoolSizeMB));
    argv.push_back(UtilSafeStrdup0("-u"));
    argv.push_back(Str_SafeAsprintf("%s:%d", kIntakeAddress, port));
    if (!info.logLevel.empty()) {
        argv.push_back(Str_SafeAsprintf("--%s=%s", "loglevel", info.logLevel.c_str()));
    }
    argv.push_back(nullptr);
}

std::string FormatCommandLine(const Plugin& plugin) {
    std::string text;
    for (char* const* argument = plugin.GetArgv(); *argument != nullptr; ++argument) {
        text += *argument;
        text += ' ';
    }
    return text;
}

}  // namespace Sentrel
