// Which programs are hooks, and what becomes of those that fail or hang.
#include "notify/hooks.h"
#include "support/host_directory.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <string>

#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using Test::TemporaryDirectory;
using testing::ElementsAre;
using testing::HasSubstr;

class NotifyHooks : public testing::Test {
  protected:
    std::string Add(const std::string& name, const std::string& text, fs::perms mode) {
        std::string path = directory.Path() + name;
        ::Test::WriteFile(path, text);
        fs::permissions(path, mode);
        return path;
    }

    TemporaryDirectory directory;
};

TEST_F(NotifyHooks, AreExecutablesThatOnlyTheirOwnerCanWrite) {
    const std::string first = Add("10-first", "", fs::perms(0755));
    const std::string second = Add("20-second", "", fs::perms(0700));
    Add("README", "", fs::perms(0644));
    Add(".hidden", "", fs::perms(0755));
    Add("open", "", fs::perms(0775));
    fs::create_symlink(first, directory.Path() + "link");
    const Notify::Hooks hooks = Notify::FindHooks(directory.Path(), ::geteuid());
    EXPECT_THAT(hooks.paths, ElementsAre(first, second));
    EXPECT_THAT(hooks.refusals, ElementsAre(HasSubstr("symbolic link"), HasSubstr("chmod go-w")));
    EXPECT_THAT(Notify::FindHooks(directory.Path(), ::geteuid() + 1).paths, ElementsAre());
    EXPECT_THAT(Notify::FindHooks(directory.Path() + "none", 0).refusals, ElementsAre());
}

TEST_F(NotifyHooks, ReceiveTheChangeAndStopInTime) {
    const std::string output = directory.Path() + "output";
    const std::string hook = Add("hook", "#!/bin/sh\ncat >" + output + "\n", fs::perms(0755));
    EXPECT_EQ(Notify::RunHook(hook, "{\"name\":\"cpu\"}\n", std::chrono::seconds(60), -1), "");
    EXPECT_EQ(::Test::ReadFile(output), "{\"name\":\"cpu\"}\n");

    const std::string fails = Add("fails", "#!/bin/sh\nexit 3\n", fs::perms(0755));
    EXPECT_EQ(Notify::RunHook(fails, "", std::chrono::seconds(60), -1), "exit status 3");
    EXPECT_THAT(Notify::RunHook(directory.Path() + "none", "", std::chrono::seconds(60), -1),
                HasSubstr("cannot start"));
    // with a child that would hold the group open
    const std::string hangs = Add("hangs", "#!/bin/sh\nsleep 600 &\nwait\n", fs::perms(0755));
    EXPECT_THAT(Notify::RunHook(hangs, "", std::chrono::seconds(1), -1), HasSubstr("killed after"));
}

}  // namespace
