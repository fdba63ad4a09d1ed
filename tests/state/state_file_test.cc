// What the daemon writes and the tool reads, through a real file below a root of the test's own.
#include "state/state_reader.h"
#include "state/state_writer.h"
#include "support/captured_log.h"
#include "support/host_directory.h"
#include "support/root_environment.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <thread>

namespace Sentrel {
namespace {

using std::chrono::seconds;
using std::chrono::system_clock;
using Test::CapturedLog;
using testing::ElementsAre;
using testing::StartsWith;

const ::Test::RootEnvironment* const kRoot = ::Test::RootEnvironment::Add();

class StateFile : public testing::Test {
  protected:
    void SetUp() override { std::filesystem::remove_all(directory.parent_path().parent_path()); }

    const std::filesystem::path directory = kRoot->Path() + "run/korvex/sentrel";
    const std::filesystem::path file = directory / "state";
    const CapturedLog log;
    StateWriter writer;
};

TEST_F(StateFile, RecordsTheOutcomeOfEachPlugin) {
    writer.Open(Pellmar::Service::Logger::sDefaultLogger);
    const auto end = system_clock::time_point(seconds(1'800'000'000));
    for (const char* name : {"new", "running", "ended", "killed", "eater", "refused", "again"}) {
        writer.AddPlugin(name, 1);
        writer.SetNextLaunch(name, seconds(3600));
        writer.SetStarted(name, 100 + name[0]);
    }
    writer.AddPlugin("never", 2);
    writer.SetEnded("ended", 100 + 'e', end, false);
    writer.SetTerminated(100 + 'k');
    writer.SetEnded("killed", 100 + 'k', end, false);
    writer.SetEnded("eater", 100 + 'e', end, true);
    writer.SetNotStarted("refused", EACCES);
    writer.SetStarted("again", 7);
    writer.SetEnded("again", 100 + 'a', end, false);  // of the run before
    writer.SetStarted("unknown", 8);

    const auto state = ReadDaemonState();
    ASSERT_TRUE(state);
    const struct {
        const char* name;
        RunState run;
        bool hasEnd;
        int error;
    } rows[] = {
        {"running", RunState::Running, false, 0},         {"ended", RunState::Ended, true, 0},
        {"killed", RunState::Terminated, true, 0},        {"eater", RunState::MemoryKill, true, 0},
        {"refused", RunState::NotStarted, false, EACCES}, {"again", RunState::Running, false, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const PluginState* const plugin = state->Find(row.name);
        ASSERT_NE(plugin, nullptr);
        EXPECT_EQ(plugin->run, row.run);
        EXPECT_EQ(plugin->end, row.hasEnd ? std::optional(end) : std::nullopt);
        EXPECT_EQ(plugin->error, row.error);
        EXPECT_EQ(plugin->queue, 1U);
        EXPECT_GT(plugin->nextLaunch, *plugin->start + seconds(3590));
        EXPECT_LT(plugin->nextLaunch, system_clock::now() + seconds(3610));
    }
    writer.SetStarted("eater", 9);
    EXPECT_EQ(ReadDaemonState()->Find("eater")->memoryKill, end);
    EXPECT_FALSE(state->Find("ended")->memoryKill);
    EXPECT_FALSE(state->Find("never")->start);
    EXPECT_EQ(state->Find("unknown"), nullptr);
    EXPECT_THAT(state->counts, ElementsAre(0, 0, 9, 1, 1, 0, 0, 0));
    int told = 0;
    writer.SetChangeListener([&told] { ++told; });
    writer.Count(StateCount::PostsRefused);
    writer.Count(StateCount::PostsStored);
    writer.SetStarted("again", 8);
    EXPECT_EQ(told, 2);
    writer.SetNames(3);
    EXPECT_THAT(writer.StatusText(),
                testing::MatchesRegex("3 names, 1 post, 11 launches; next launch "
                                      "[0-9][0-9]:[0-9][0-9]:[0-9][0-9]Z"));
    const std::string longName(200, 'n');
    for (int i = 0; i < 20; ++i) {
        writer.SetRefused(longName, 400 + i);
    }
    const auto refusals = ReadDaemonState()->refusals;
    ASSERT_EQ(refusals.size(), 16U);
    EXPECT_EQ(refusals[3].status, 419);
    EXPECT_EQ(refusals[4].status, 404);
    EXPECT_EQ(refusals[4].name, longName.substr(0, 112));
    EXPECT_EQ(::Test::ModeOf(file), 0640U);
    EXPECT_THAT(log.Lines(), testing::IsEmpty());
}

TEST_F(StateFile, IsIgnoredWithoutItsDaemon) {
    EXPECT_FALSE(ReadDaemonState());
    {
        StateWriter gone;
        gone.Open(Pellmar::Service::Logger::sDefaultLogger);
        EXPECT_TRUE(ReadDaemonState());
    }
    EXPECT_FALSE(ReadDaemonState());
    writer.Open(Pellmar::Service::Logger::sDefaultLogger);
    EXPECT_TRUE(ReadDaemonState());
    std::fstream(file, std::ios::in | std::ios::out).seekp(8).put('\3');  // another version
    EXPECT_FALSE(ReadDaemonState());
}

TEST_F(StateFile, IsOptional) {
    ::Test::WriteFile(directory.parent_path().parent_path(), "");  // where a directory is to be
    writer.Open(Pellmar::Service::Logger::sDefaultLogger);
    EXPECT_THAT(log.Lines(), ElementsAre(StartsWith("5 sentrel: No state file, so ")));
    writer.AddPlugin("cpu", 0);
    writer.SetStarted("cpu", 7);
    EXPECT_FALSE(ReadDaemonState());
}

TEST_F(StateFile, ShowsNoEntryThatIsHalfWritten) {
    writer.Open(Pellmar::Service::Logger::sDefaultLogger);
    writer.AddPlugin("cpu", 0);
    std::atomic<bool> stops = false;
    std::thread daemon([this, &stops] {
        while (!stops) {
            writer.SetStarted("cpu", 7);
            writer.SetNotStarted("cpu", ENOEXEC);
        }
    });
    for (int i = 0; i < 2000; ++i) {
        const auto state = ReadDaemonState();
        if (!state) {
            continue;  // it was written to all the time
        }
        const PluginState& plugin = state->plugins.at(0);
        EXPECT_EQ(plugin.pid == 7, plugin.run == RunState::Running);
        EXPECT_EQ(plugin.error == ENOEXEC, plugin.run == RunState::NotStarted);
    }
    stops = true;
    daemon.join();
}

}  // namespace
}  // namespace Sentrel
