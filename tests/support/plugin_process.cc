#include "support/plugin_process.h"

#include "support/descriptors.h"
#include "support/host_directory.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Test {

namespace {

constexpr const char* kPluginDirectory = "/usr/lib/korvex/sentrel/plugins/bin/";

// What the child gets, freed with the object.
class SpawnActions {
  public:
    explicit SpawnActions(int standardError) {
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        ::posix_spawn_file_actions_adddup2(&actions, standardError, STDERR_FILENO);
        ::posix_spawn_file_actions_addchdir_np(&actions, "/");
    }
    ~SpawnActions() { ::posix_spawn_file_actions_destroy(&actions); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;

    const posix_spawn_file_actions_t* Get() const { return &actions; }

  private:
    posix_spawn_file_actions_t actions{};
};

}  // namespace

PluginHost::PluginHost(const std::string& program, std::string name) : name(std::move(name)) {
    std::filesystem::create_directories(root.Path() + kPluginDirectory);
    std::error_code problem;
    std::filesystem::create_hard_link(program, Executable(), problem);
    if (problem) {  // on another file system
        std::filesystem::copy_file(program, Executable());
    }
}

std::string PluginHost::Executable() const {
    // The root's path ends in "/", which the plugin directory begins with.
    return root.Path() + (kPluginDirectory + 1) + name;
}

std::vector<std::string> PluginHost::CommandLine(int port) const {
    return {kPluginDirectory + name, "++group=sentrel-plugins,mem=40", "-u",
            "http://localhost:" + std::to_string(port), "--loglevel=info"};
}

void PluginHost::WriteSettings(std::string_view fileName, std::string_view text) const {
    const std::string directory = root.Path() + "etc/korvex/sentrel/checks/";
    std::filesystem::create_directories(directory);
    WriteFile(directory + std::string(fileName), text);
}

PluginProcess::PluginProcess(const PluginHost& host, const std::vector<std::string>& commandLine) {
    Pipe pipe;
    errorPipe = std::move(pipe.reader);
    std::vector<std::string> strings = commandLine;
    const std::vector<char*> arguments = PointersTo(strings);
    std::array<char*, 1> environment{};
    const SpawnActions actions(pipe.writer.Get());
    const int problem = ::posix_spawn(&pid, host.Executable().c_str(), actions.Get(), nullptr,
                                      arguments.data(), environment.data());
    if (problem != 0) {
        throw std::system_error(problem, std::generic_category(), "running " + host.Executable());
    }
}

PluginProcess::~PluginProcess() {
    if (pid > 0) {
        (void)::kill(pid, SIGKILL);  // not reaped yet, so the number is still its own
        (void)::waitpid(pid, nullptr, 0);
    }
}

long PluginProcess::PeakKiB() const {
    const std::string status = ReadFile("/proc/" + std::to_string(pid) + "/status");
    const std::string field = "VmHWM:";
    const std::size_t start = status.find(field);
    if (start == std::string::npos) {
        throw std::runtime_error("the plugin has ended");
    }
    return std::stol(status.substr(start + field.size()));
}

int PluginProcess::WaitForEnd() {
    standardError = ReadToEnd(errorPipe.Get());  // it and all its children have closed theirs
    int status = 0;
    if (::waitpid(pid, &status, 0) != pid) {
        throw std::system_error(errno, std::generic_category(), "waiting for the plugin");
    }
    pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace Test
