// A plugin installed below a host root of a test's own, and a run of it as the daemon would run it.
#pragma once

#include "platform/sys/owned_fd.h"
#include "support/temporary_directory.h"

#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace Test {

// A host root with one plugin in it. Removed with the object.
class PluginHost {
  public:
    // Puts `program` into the plugin directory as `name`. Throws
    // std::filesystem::filesystem_error.
    PluginHost(const std::string& program, std::string name);

    // The file that is executed.
    std::string Executable() const;
    const std::string& Name() const { return name; }
    // The command line that the daemon composes for an intake at `port`.
    std::vector<std::string> CommandLine(int port) const;
    // Writes /etc/korvex/sentrel/checks/`fileName`.
    void WriteSettings(std::string_view fileName, std::string_view text) const;

  private:
    const TemporaryDirectory root;
    const std::string name;
};

// Killed with the object. All waiting is bounded: std::runtime_error when it is in vain.
class PluginProcess {
  public:
    // Runs it with an empty environment in the directory "/". Throws std::system_error when there
    // can be no process; a program that cannot be executed ends with status 127.
    PluginProcess(const PluginHost& host, const std::vector<std::string>& commandLine);
    ~PluginProcess();
    PluginProcess(const PluginProcess&) = delete;
    PluginProcess& operator=(const PluginProcess&) = delete;

    // The most memory that was resident so far, in KiB. While it runs.
    long PeakKiB() const;
    // Waits for its end: the exit status, or -N when signal N ended it.
    int WaitForEnd();
    // What it wrote. After WaitForEnd.
    const std::string& StandardError() const { return standardError; }

  private:
    Sys::OwnedFd errorPipe;
    pid_t pid = -1;
    std::string standardError;
};

}  // namespace Test
