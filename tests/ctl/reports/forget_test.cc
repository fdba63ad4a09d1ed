// "forget" on real directories: what belongs to a name, and what becomes of a post that crosses it.
#include "ctl/reports/forget.h"

#include "ctl/host/daemon_settings.h"
#include "platform/pellmar/system/file.h"
#include "store/report_roller.h"
#include "support/host_directory.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

namespace Test {
namespace {

namespace Files = std::filesystem;
using testing::ElementsAre;

TEST(Forget, RemovesOnlyTheFilesOfTheName) {
    const HostDirectory host;
    const auto write = [&host](const std::string& file) { WriteFile(host.ReportPath(file), "{}"); };
    for (const char* file : {"a.b-0.json", "a.b-1.json", ".a.b-2.json", ".a.b-0.json", "a-b-1.json",
                             "a.bc-0.json", "a.b-x.json", "axb-4.json", "other"}) {
        write(file);
    }
    Files::create_symlink("a.b-1.json", host.ReportPath("a.b.json"));
    Files::create_symlink("a-b-1.json", host.ReportPath("a-b.json"));    // another stored name
    Files::create_symlink("a.b-1.json", host.ReportPath("a.b-7.json"));  // of the name "a.b-7"
    Files::last_write_time(host.ReportPath(".a.b-2.json"),
                           Files::file_time_type::clock::now() - std::chrono::seconds(121));
    const Ctl::Forgotten forgotten = Ctl::Forget(host.ReportDirectory() + "/", "a.b");
    EXPECT_THAT(forgotten.removed,
                ElementsAre("a.b.json", ".a.b-2.json", "a.b-0.json", "a.b-1.json", "axb-4.json"));
    EXPECT_THAT(forgotten.kept, ElementsAre(".a.b-0.json"));
    for (const std::string& file : forgotten.removed) {
        EXPECT_FALSE(Files::exists(Files::symlink_status(host.ReportPath(file)))) << file;
    }
    Files::create_symlink(".hidden-1.json", host.ReportPath(".hidden.json"));
    write(".hidden-1.json");
    EXPECT_THAT(Ctl::Forget(host.ReportDirectory() + "/", ".hidden").removed,
                ElementsAre(".hidden.json", ".hidden-1.json"));
    for (const char* file : {".a.b-0.json", "a-b-1.json", "a.bc-0.json", "a.b-x.json", "other",
                             "a-b.json", "a.b-7.json"}) {
        EXPECT_TRUE(Files::is_symlink(host.ReportPath(file)) ||
                    Files::exists(host.ReportPath(file)))
            << file;
    }
}

// Posts to a ring of its own like the daemon, once for each round.
class Poster {
  public:
    explicit Poster(const std::string& directory)
        : roller(
              Pellmar::MakeRef<Sentrel::ReportRoller>(directory, "cpu", 3, Ctl::SilentLogger())) {}

    void Post(const std::string& text) {
        Pellmar::Ref<Pellmar::System::FileWriter> writer;
        Pellmar::Ref<Pellmar::System::File> file;
        ASSERT_TRUE(roller->OpenTemporaryReport(writer, file));
        writer->Write(text.data(), text.size());
        writer->Close();
        roller->Rotate(file);
    }

  private:
    const Pellmar::Ref<Sentrel::ReportRoller> roller;
};

TEST(Forget, KeepsReportsThatArriveMeanwhile) {
    const HostDirectory host;
    const std::string directory = host.ReportDirectory() + "/";
    Poster poster(directory);
    int crossed = 0;
    for (int round = 0; round < 300; ++round) {
        const std::string text = std::to_string(round);
        std::atomic<int> ready = 0;
        std::thread post([&] {
            ++ready;
            while (ready < 2) {
            }
            poster.Post(text);
        });
        ++ready;
        while (ready < 2) {
        }
        (void)Ctl::Forget(directory, "cpu");
        post.join();
        const bool hasLink = Files::is_symlink(directory + "cpu.json");
        EXPECT_EQ(hasLink, Files::exists(directory + "cpu.json")) << "a link to nothing";
        if (hasLink) {
            EXPECT_EQ(ReadFile(directory + "cpu.json"), text);
            ++crossed;
            continue;
        }
        for (const auto& entry : Files::directory_iterator(directory)) {
            EXPECT_NE(ReadFile(entry.path()), text) << "a report without its link";
        }
    }
    EXPECT_GT(crossed, 0);
    EXPECT_FALSE(Files::exists(directory + ".forget-" + std::to_string(::getpid())));
    poster.Post("last");
    (void)Ctl::Forget(directory, "cpu");
    EXPECT_FALSE(Files::is_symlink(directory + "cpu.json"));
}

}  // namespace
}  // namespace Test
