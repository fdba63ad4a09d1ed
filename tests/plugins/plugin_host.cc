#include "plugin_host.h"

#include "platform/kernel/groups/embedded_backend.h"
#include "platform/kernel/groups/groups.h"
#include "platform/kernel/spawn/process_table.h"
#include "platform/pellmar/service/app.h"
#include "platform/sys/pid_fd.h"
#include "platform/tabulon/json_config.h"
#include "plugins/discovery.h"
#include "plugins/resource_group.h"
#include "support/deadline.h"
#include "support/descriptors.h"
#include "support/host_directory.h"
#include "support/root_environment.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <signal.h>
#include <sys/stat.h>

namespace PluginTest {

namespace fs = std::filesystem;

namespace {

const Test::RootEnvironment* const kRoot = Test::RootEnvironment::Add();
const Test::TemporaryDirectory kOutside;  // of the root

std::string BelowRoot(const std::string& plainPath) { return kRoot->Path() + plainPath.substr(1); }

void WriteBelowRoot(const std::string& plainPath, std::string_view text) {
    const fs::path path = BelowRoot(plainPath);
    fs::create_directories(path.parent_path());
    Test::WriteFile(path, text);
}

void UseEmbeddedGroup() {
    Kernel::UseGroups(std::make_unique<Kernel::EmbeddedBackend>(Kernel::ProcessTable::Spawned()));
    (void)Kernel::EnsureGroup(Sentrel::kPluginGroupPath, 0);  // the table reserves nothing
}

}  // namespace

PluginHost::PluginHost() : previous(::signal(SIGCHLD, SIG_IGN)) {
    for (const fs::directory_entry& entry : fs::directory_iterator(kRoot->Path())) {
        fs::remove_all(entry.path());
    }
    fs::create_directories(BelowRoot(Sentrel::kPluginDirectory));
}

PluginHost::~PluginHost() { (void)::signal(SIGCHLD, previous); }

std::string PluginHost::EntryPath(std::string_view name) const {
    return BelowRoot(Sentrel::kPluginDirectory) + std::string(name);
}

std::string PluginHost::MakeOutput() const {
    std::string path = kOutside.Path() + "output";
    fs::remove(path);
    Test::OrThrow(::mkfifo(path.c_str(), 0600), "mkfifo");
    return path;
}

void PluginHost::AddScript(std::string_view name, std::string_view body,
                           std::string_view entry) const {
    Test::WriteFile(EntryPath(name), "#!/bin/sh\n" + std::string(body) + "\n");
    fs::permissions(EntryPath(name), fs::perms::owner_all);
    if (!entry.empty()) {
        Configure(name, entry);
    }
}

void PluginHost::Configure(std::string_view name, std::string_view text,
                           std::string_view component) const {
    WriteBelowRoot("/usr/lib/korvex/tabulon/" + std::string(component) + "/health/" +
                       std::string(name) + ".json",
                   text);
}

std::vector<std::string> StartLog(std::string_view daemonEntry,
                                  const std::function<void(const PluginHost&)>& prepare) {
    const PluginHost host;
    prepare(host);
    return Test::LinesOf(Test::AnswerOfChild([&] {
        std::string text;
        const DrivenLauncher launcher(host, daemonEntry);
        for (const std::string& line : launcher.Log().Lines()) {
            text += line + '\n';
        }
        return text;
    }));
}

void WaitUntilEnded(int pid) {
    const Sys::PidFd process = Sys::PidFd::Open(pid);
    if (process.IsOpen()) {
        Test::Deadline().Await(process.Get(), POLLIN, "the end of a plugin");
    }
}

DrivenLauncher::DrivenLauncher(const PluginHost& host, std::string_view daemonEntry)
    : scheduler(std::make_unique<Pellmar::System::Scheduler>(pool, clock)) {
    UseEmbeddedGroup();
    host.Configure("sentrel", daemonEntry);
    const auto config =
        Tabulon::CreateTabulonConfigWithFallbackToDefault({{"", "sentrel", "health", "oru", ""}});
    config->Initialize();
    Pellmar::Service::InitApp(config);
    Pellmar::Service::Logger::sDefaultLogger->SetLevel(7);
    std::make_shared<Sentrel::PluginLauncher>(*scheduler)->Start();
}

// NOLINTNEXTLINE(bugprone-exception-escape): as declared
DrivenLauncher::~DrivenLauncher() {
    scheduler.reset();  // with the pending functions, and with these the launcher
    for (const Kernel::GroupProcess& left :
         Kernel::ShowGroup(Sentrel::kPluginGroupPath).processes) {
        (void)Kernel::Kill(left.pid, SIGKILL);  // it may have ended by itself
        WaitUntilEnded(left.pid);
    }
}

void DrivenLauncher::Advance(std::chrono::seconds duration, std::size_t batches) {
    ASSERT_TRUE(clock.AwaitWaiter());
    clock.Advance(duration);
    batchesRun += batches;
    ASSERT_TRUE(log.WaitFor("7 PluginLauncher: Scheduled the next iteration", batchesRun));
}

int DrivenLauncher::LastPid() const {
    int pid = 0;
    for (const std::string& line : log.Lines()) {
        if (line.find("Pushed plugin ") != std::string::npos) {
            pid = std::stoi(line.substr(line.rfind('(') + 1));
        }
    }
    return pid;
}

}  // namespace PluginTest
