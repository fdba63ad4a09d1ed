#include "support/plugin_process.h"

#include "platform/sys/proc_file.h"
#include "support/descriptors.h"
#include "support/host_directory.h"

#include <array>
#include <csignal>
#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Test {

namespace {

constexpr const char* kPluginDirectory = "/usr/lib/korvex/sentrel/plugins/bin/";

}  // namespace

PluginHost::PluginHost(const std::string& program, std::string name) : name(std::move(name)) {
    std::filesystem::create_directories(root.Path() + kPluginDirectory);
    std::filesystem::copy_file(program, Executable());
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
    std::vector<std::string> strings = commandLine;
    const std::vector<char*> arguments = PointersTo(strings);
    std::array<char*, 1> environment{};
    const std::string executable = host.Executable();
    const Sys::OwnedFd null(OrThrow(::open("/dev/null", O_RDWR | O_CLOEXEC), "/dev/null"));
    pid = OrThrow(::fork(), "running " + executable);
    if (pid == 0) {
        if (::dup2(null.Get(), STDIN_FILENO) >= 0 && ::dup2(null.Get(), STDOUT_FILENO) >= 0 &&
            ::dup2(pipe.writer.Get(), STDERR_FILENO) >= 0 && ::chdir("/") == 0) {
            (void)::execve(executable.c_str(), arguments.data(), environment.data());
        }
        ::_exit(127);
    }
    errorPipe = std::move(pipe.reader);
}

PluginProcess::~PluginProcess() {
    if (pid > 0) {
        (void)::kill(pid, SIGKILL);  // not reaped yet, so the number is still its own
        (void)::waitpid(pid, nullptr, 0);
    }
}

long PluginProcess::PeakKiB() const {
    const std::string status = Sys::ReadProcFile("/proc/" + std::to_string(pid) + "/status");
    return std::stol(std::string(Sys::StatusField(status, "VmHWM")));
}

int PluginProcess::WaitForEnd() {
    standardError = ReadToEnd(errorPipe.Get());  // it and all its children have closed theirs
    int status = 0;
    OrThrow(::waitpid(pid, &status, 0), "waiting for the plugin");
    pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace Test
