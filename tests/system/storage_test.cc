// The ring and its link on real file systems, and when the report directory is in the way: planted
// links, taken paths, gone, read-only, full.
#include "support/http_client.h"
#include "support/scenario.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>

#include <sys/stat.h>

namespace {

using ::Test::HttpClient;
using ::Test::MountedDirectory;
using ::Test::ReadFile;
using ::Test::ReportDocument;
using ::Test::WriteFile;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace fs = std::filesystem;

class Storage : public ::Test::Scenario {
  protected:
    std::string StoredPath(const std::string& fileName) const {
        return host.ReportPath(fileName).string();
    }
    static int Post(const std::string& name, const std::string& body) {
        return HttpClient().Post("/" + name, body);
    }
};

TEST_F(Storage, KeepsTheThreeNewestAndALinkToTheNewest) {
    Start();
    HttpClient client;
    for (int number = 0; number < 5; ++number) {
        ASSERT_EQ(client.Post("/cpu", std::to_string(number)), 200);
        EXPECT_EQ(host.LinkTarget("cpu"),
                  StoredPath("cpu-" + std::to_string(number % 3) + ".json"));
        EXPECT_EQ(host.Report("cpu"), std::to_string(number));
    }
    EXPECT_THAT(host.ReportFiles(),
                ElementsAre("cpu-0.json", "cpu-1.json", "cpu-2.json", "cpu.json"));
    EXPECT_EQ(ReadFile(host.ReportPath("cpu-2.json")), "2");
    EXPECT_EQ(::Test::ModeOf(StoredPath("cpu-0.json")), 0640U);
}

TEST_F(Storage, FollowsNoPlantedLink) {
    const std::string victim = host.Base() + "victim";
    WriteFile(victim, "precious");
    ASSERT_EQ(::mkfifo(StoredPath(".cpu-2.json").c_str(), 0600), 0);
    fs::create_symlink(victim, host.ReportPath(".cpu-0.json"));
    fs::create_hard_link(victim, host.ReportPath(".cpu-1.json"));
    fs::create_symlink(victim, host.ReportPath("cpu-0.json"));
    fs::create_symlink(victim, host.ReportPath("cpu.json"));
    Start();
    for (int number = 0; number < 3; ++number) {
        SCOPED_TRACE(number);
        EXPECT_EQ(Post("cpu", std::to_string(number)), 200);
        EXPECT_EQ(host.Report("cpu"), std::to_string(number));
    }
    EXPECT_EQ(ReadFile(victim), "precious");
    EXPECT_EQ(fs::hard_link_count(victim), 1U);
    EXPECT_THAT(LogFrom(0, "3 SentrelHandler"), IsEmpty());
}

TEST_F(Storage, StoresButDoesNotLinkWhenThePathOfTheLinkIsTaken) {
    WriteFile(host.ReportPath("cpu.json"), "a file");
    fs::create_directory(host.ReportPath("mem.json"));
    Start();
    for (const std::string name : {"cpu", "mem"}) {
        SCOPED_TRACE(name);
        const std::size_t logged = daemon->LogLines().size();
        EXPECT_EQ(Post(name, "{}"), 200);
        EXPECT_EQ(ReadFile(host.ReportPath(name + "-0.json")), "{}");
        EXPECT_THAT(LogFrom(logged, "3 "), ElementsAre(HasSubstr(StoredPath(name + ".json"))));
        EXPECT_EQ(host.LinkTarget(name), "");
        fs::remove(host.ReportPath(name + ".json"));
        EXPECT_EQ(Post(name, "[]"), 200);
        EXPECT_EQ(host.Report(name), "[]");
    }
}

TEST_F(Storage, KeepsTheOldReportWhenTheNewOneCannotBeMoved) {
    Start();
    EXPECT_EQ(Post("cpu", "old"), 200);
    fs::create_directories(host.ReportPath("cpu-1.json/full"));
    const std::size_t logged = daemon->LogLines().size();
    EXPECT_EQ(Post("cpu", "lost"), 200);
    EXPECT_THAT(
        LogFrom(logged, "3 "),
        ElementsAre("3 sentrel: Cannot rename " + StoredPath(".cpu-1.json") + " to " +
                        StoredPath("cpu-1.json") +
                        ": Is a directory; remove the file or directory there",
                    "3 SentrelHandler: Failed to rename the file to " + StoredPath("cpu-1.json")));
    EXPECT_EQ(host.Report("cpu"), "old");
    EXPECT_EQ(ReadFile(host.ReportPath(".cpu-1.json")), "lost");
    EXPECT_EQ(Post("cpu", "new"), 200);
    EXPECT_EQ(host.Report("cpu"), "new");
}

TEST_F(Storage, RefusesPostsWhileTheDirectoryIsGone) {
    const std::string notADirectory = "Error opening directory " + host.ReportDirectory() + "/: '" +
                                      host.ReportDirectory() + "/' is not a directory";
    fs::remove(host.ReportDirectory());
    Start();
    EXPECT_EQ(Post("cpu", "{}"), 500);
    EXPECT_THAT(LogFrom(0, "3 SentrelHandler"),
                ElementsAre("3 SentrelHandler: Invalid directory: " + host.ReportDirectory() + "/",
                            "3 SentrelHandler: " + notADirectory));
    fs::create_directory(host.ReportDirectory());
    EXPECT_EQ(Post("cpu", "{}"), 200);

    // A name that is known already finds out when it makes its file.
    fs::remove_all(host.ReportDirectory());
    EXPECT_EQ(Post("cpu", "{}"), 500);
    EXPECT_THAT(LogFrom(0, "3 SentrelHandler"),
                Contains("3 SentrelHandler: Creation of report failed"));
    fs::create_directory(host.ReportDirectory());
    EXPECT_EQ(Post("cpu", "[]"), 200);
    EXPECT_EQ(host.Report("cpu"), "[]");
}

TEST_F(Storage, RefusesPostsWhileTheDirectoryIsReadOnly) {
    const MountedDirectory mounted(host.ReportDirectory(), 1 << 20);
    Start();
    EXPECT_EQ(Post("cpu", "old"), 200);
    mounted.SetAccess(MountedDirectory::Access::ReadOnly);
    for (const std::string name : {"cpu", "mem"}) {
        SCOPED_TRACE(name);
        const std::size_t logged = daemon->LogLines().size();
        EXPECT_EQ(Post(name, "{}"), 500);
        EXPECT_THAT(LogFrom(logged, "3 SentrelHandler"),
                    ElementsAre(testing::AllOf(HasSubstr("3 SentrelHandler: Caught "),
                                               HasSubstr(" while attempting to create file: " +
                                                         host.ReportDirectory() + "/." + name)),
                                "3 SentrelHandler: Creation of report failed"));
    }
    EXPECT_EQ(host.Report("cpu"), "old");
    mounted.SetAccess(MountedDirectory::Access::ReadWrite);
    EXPECT_EQ(Post("cpu", "new"), 200);
    EXPECT_EQ(host.Report("cpu"), "new");
}

TEST_F(Storage, AnswersWhileTheFileSystemIsFull) {
    const MountedDirectory mounted(host.ReportDirectory(), 256 << 10);
    Start();
    EXPECT_EQ(Post("cpu", "old"), 200);
    const std::size_t logged = daemon->LogLines().size();
    EXPECT_EQ(Post("cpu", ReportDocument("cpu", 1'000'000)), 500);
    EXPECT_THAT(LogFrom(logged, "3 "), ElementsAre(HasSubstr("No space left on device")));
    EXPECT_EQ(host.Report("cpu"), "old");

    // What was received of it stays, hidden, until the ring comes round or somebody makes room.
    fs::remove(host.ReportPath(".cpu-1.json"));
    EXPECT_EQ(Post("cpu", "new"), 200);
    EXPECT_EQ(host.Report("cpu"), "new");
    EXPECT_EQ(daemon->Stop(), 0);
}

}  // namespace
