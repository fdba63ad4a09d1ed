// An enabled plugin: its settings and the command line that it is launched with.
#pragma once

#include "platform/pellmar/config.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Sentrel {

// The result of examining an entry of the plugin directory.
struct PluginInfo {
    bool enabled = true;
    std::uint32_t frequency = 0;  // queue index: 0 fast, 1 medium, 2 slow
    std::string logLevel;         // one of "debug" to "critical", or empty
    std::string name;             // key in the configuration store, also shown in messages
    std::string path;             // the executable's path, without the host root
    bool sandbox = true;          // whether to confine it when the daemon is not root
};

// Immutable after construction; any thread may read.
class Plugin {
  public:
    // Megabytes reserved for all plugins together, as stated in their command lines. Set once,
    // before the first plugin is created.
    static std::int32_t sResourcePoolSizeMB;

    // Composes the command line with the intake port from the application's configuration.
    explicit Plugin(const PluginInfo& info);
    // Takes the intake port from `settings`, the daemon's, for programs other than the daemon.
    Plugin(const PluginInfo& info, const Pellmar::Ref<Pellmar::Service::ConfigReader>& settings);
    ~Plugin();
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

    const std::string& GetName() const { return info.name; }
    const std::string& GetPath() const { return info.path; }
    const PluginInfo& GetInfo() const { return info; }
    // path, "++group=…", "-u", the intake's URL, optionally "--loglevel=…", null. Owned by the
    // plugin.
    char* const* GetArgv() const { return argv.data(); }

  private:
    void ComposeCommandLine(std::int32_t port);

    const PluginInfo info;
    std::vector<char*> argv;  // allocated by the C allocator
    const Pellmar::Ref<Pellmar::Service::Logger> logger;
};

// The command line for messages: every argument followed by a blank.
std::string FormatCommandLine(const Plugin& plugin);

}  // namespace Sentrel
