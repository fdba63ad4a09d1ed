// Records as they stand in the file of a temporary host root, and what becomes of them when the
// file is moved away, cannot be opened, or fills up.
#include "platform/audit/kvx_audit.h"

#include "support/captured_log.h"
#include "support/host_directory.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

using nlohmann::ordered_json;
using std::string_literals::operator""s;
using ::Test::CapturedLog;
using testing::ElementsAre;
using testing::MatchesRegex;

// One root for all tests, since it is read once a process.
class RootEnvironment : public testing::Environment {
  public:
    void SetUp() override {
        root = std::make_unique<::Test::TemporaryDirectory>();
        ASSERT_EQ(setenv("SENTREL_ROOT", root->Path().c_str(), 1), 0);
    }
    void TearDown() override { root.reset(); }

    fs::path AuditDirectory() const { return root->Path() + "var/log/korvex"; }

  private:
    std::unique_ptr<::Test::TemporaryDirectory> root;
};

// Owned by GoogleTest.
RootEnvironment* const kRoot =
    static_cast<RootEnvironment*>(testing::AddGlobalTestEnvironment(new RootEnvironment));

std::vector<std::string> LinesOf(const fs::path& file) {
    std::istringstream text(::Test::ReadFile(file));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> SubjectsIn(const fs::path& file) {
    std::vector<std::string> subjects;
    for (const std::string& line : LinesOf(file)) {
        const ordered_json record = ordered_json::parse(line, nullptr, /*allow_exceptions=*/false);
        subjects.push_back(record.is_object() ? record["subject"] : "cut line");
    }
    return subjects;
}

void Record(std::string_view subject) {
    KvxAudit_LogList("api.call", subject, "svc:op", true, nullptr);
}

unsigned ModeOf(const fs::path& path) {
    return static_cast<unsigned>(fs::status(path).permissions());
}

class KvxAudit : public testing::Test {
  protected:
    KvxAudit() { fs::remove_all(directory); }

    const fs::path directory = kRoot->AuditDirectory();
    const fs::path file = directory / "audit.jsonl";
    const CapturedLog log;
};

TEST_F(KvxAudit, WritesOneLineOfJsonARecord) {
    const mode_t previous = umask(022);
    const KvxAuditPair pairs[] = {{"b", "1"}, {"a", ""}, {"", "2"}, {}};
    KvxAudit_LogList("api.call", "alice", "com.korvex.svc:list", true, pairs);
    KvxAudit_LogList("api.call", "", "com.korvex.svc:get", false, nullptr);
    umask(previous);
    EXPECT_THAT(
        LinesOf(file),
        ElementsAre(
            MatchesRegex(
                R"(\{"time":"20[0-9-]{8}T[0-9:]{8}\.[0-9]{3}Z","eventID":"api.call","subject":"alice",)"
                R"("object":"com.korvex.svc:list","success":true,"pairs":\{"b":"1","a":"","":"2"\}\})"),
            MatchesRegex(
                R"(.*"subject":"","object":"com.korvex.svc:get","success":false,"pairs":\{\}\})")));
    EXPECT_EQ(ModeOf(file), 0640U);
    EXPECT_EQ(ModeOf(directory), 0750U);
    EXPECT_THAT(log.Lines(), testing::IsEmpty());
}

TEST_F(KvxAudit, KeepsStrangeTextsInOneAsciiLine) {
    constexpr std::size_t kMax = Audit::kMaxTextBytes;
    struct Row {
        const char* name;
        std::string text;
        std::string recorded;
    };
    const std::vector<Row> rows = {
        {"line ends, quotes, NUL", "a\n\"b\\\r\0c"s, "a\n\"b\\\r\0c"s},
        {"DEL, C1 controls, line separator", "\x7F\u009B\u2028", "\x7F\u009B\u2028"},
        {"beyond 16 bits", "\U0001F600", "\U0001F600"},
        {"not UTF-8", "a\xFF\x80z\xC3", "a\uFFFD\uFFFDz\uFFFD"},
        {"as long as allowed", std::string(kMax, 'a'), std::string(kMax, 'a')},
        {"too long", std::string(1'000'000, 'a'), std::string(kMax, 'a') + "\u2026"},
        {"cut inside a character", std::string(kMax - 3, 'a') + "\U0001F600",
         std::string(kMax - 3, 'a') + "\u2026"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        fs::remove(file);
        const KvxAuditPair pairs[] = {{row.text, row.text}, {}};
        KvxAudit_LogList(row.text, row.text, row.text, true, pairs);
        const std::vector<std::string> lines = LinesOf(file);
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_TRUE(std::all_of(lines[0].begin(), lines[0].end(),
                                [](char byte) { return byte >= ' ' && byte < '\x7F'; }));
        const ordered_json record = ordered_json::parse(lines[0]);
        for (const char* const member : {"eventID", "subject", "object"}) {
            EXPECT_EQ(record[member], row.recorded);
        }
        EXPECT_EQ(record["pairs"], (ordered_json{{row.recorded, row.recorded}}));
    }
}

TEST_F(KvxAudit, BoundsTheNumberOfPairs) {
    std::vector<std::string> keys;
    for (std::size_t i = 0; i <= Audit::kMaxPairs; ++i) {
        keys.push_back(std::to_string(i));
    }
    std::vector<KvxAuditPair> pairs(keys.size() + 1);
    std::transform(keys.begin(), keys.end(), pairs.begin(), [](const std::string& key) {
        return KvxAuditPair{key, "v"};
    });
    KvxAudit_LogList("api.call", "alice", "svc:op", true, pairs.data());
    const ordered_json recorded = ordered_json::parse(LinesOf(file).at(0))["pairs"];
    EXPECT_EQ(recorded.size(), Audit::kMaxPairs + 1);
    EXPECT_EQ(recorded.back(), "\u2026");
}

TEST_F(KvxAudit, FollowsAFileThatIsMovedAwayOrRemoved) {
    Record("first");
    const fs::path moved = directory / "audit.jsonl.1";
    fs::rename(file, moved);
    Record("second");
    Record("third");
    EXPECT_THAT(SubjectsIn(moved), ElementsAre("first"));
    EXPECT_THAT(SubjectsIn(file), ElementsAre("second", "third"));
    fs::remove_all(directory);
    Record("fourth");
    EXPECT_THAT(SubjectsIn(file), ElementsAre("fourth"));
    EXPECT_THAT(log.Lines(), testing::IsEmpty());
}

TEST_F(KvxAudit, SaysWhatStandsInThePlaceOfItsFile) {
    struct Row {
        const char* name;
        std::function<void()> obstruct;
        std::string reason;
    };
    const fs::path elsewhere = directory.parent_path() / "elsewhere";
    const std::string notRegular =
        "Cannot open /var/log/korvex/audit.jsonl: what stands there is no regular file; move it "
        "away";
    const std::vector<Row> rows = {
        {"directory", [&] { fs::create_directories(file); }, notRegular},
        {"FIFO", [&] { ASSERT_EQ(mkfifo(file.c_str(), 0600), 0); }, notRegular},
        {"link", [&] { fs::create_symlink(elsewhere, file); },
         "Cannot open /var/log/korvex/audit.jsonl: a symbolic link stands there, which is not "
         "followed; remove it"},
        {"file instead of the directory",
         [&] {
             fs::remove_all(directory);
             ::Test::WriteFile(directory, "");
         },
         "Cannot open /var/log/korvex/audit.jsonl: Not a directory; move away what stands where "
         "one of its directories should"},
        {"dangling link instead of the directory",
         [&] {
             fs::remove_all(directory);
             fs::create_symlink(elsewhere, directory);
         },
         "Cannot open /var/log/korvex/audit.jsonl: No such file or directory; remove the broken "
         "link that stands where one of its directories should"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        fs::remove_all(directory);
        Record("good");  // the file is open when the obstacle comes
        fs::remove(file);
        row.obstruct();
        const std::size_t linesBefore = log.Lines().size();
        Record("lost\n");
        KvxAudit_LogList("api.call", "", "svc:op", false, nullptr);
        const std::vector<std::string> lines = log.Lines();
        ASSERT_EQ(lines.size(), linesBefore + 2);
        EXPECT_EQ(
            lines[linesBefore],
            "3 KvxAudit: Audit record of svc:op for user \"lost\\x0a\" (success: true) is lost: " +
                row.reason);
        EXPECT_FALSE(fs::exists(elsewhere));
    }
    fs::remove_all(directory);
    Record("good again");
    EXPECT_THAT(SubjectsIn(file), ElementsAre("good again"));
}

TEST_F(KvxAudit, EndsALineThatWasCut) {
    // Longer than the log of this process, to which the limit applies, too.
    fs::create_directories(directory);
    ::Test::WriteFile(file, R"({"subject": "before"})" + std::string(1 << 20, ' ') + "\n");
    const std::uintmax_t size = fs::file_size(file);
    rlimit previous{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &previous), 0);
    const rlimit limited{size + 10, previous.rlim_max};
    const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
    Record("cut");
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &previous), 0);
    std::signal(SIGXFSZ, previousHandler);
    EXPECT_EQ(fs::file_size(file), size + 10);
    EXPECT_EQ(log.Count("(success: true) is lost: Cannot write /var/log/korvex/audit.jsonl: File "
                        "too large; move it away, or raise the limit of the size of files"),
              1U);

    Record("after");
    Record("last");
    EXPECT_THAT(SubjectsIn(file), ElementsAre("before", "cut line", "after", "last"));
}

TEST_F(KvxAudit, TakesWholeLinesOfManyThreadsAcrossRotations) {
    constexpr int kThreads = 8;
    constexpr int kRecords = 100;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([i] {
            for (int j = 0; j < kRecords; ++j) {
                Record(std::to_string(i * kRecords + j));
            }
        });
    }
    for (int rotation = 0; rotation < 5; ++rotation) {
        std::error_code noFileYet;
        fs::rename(file, directory / ("old" + std::to_string(rotation)), noFileYet);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::set<std::string> subjects;
    for (const auto& entry : fs::directory_iterator(directory)) {
        for (const std::string& subject : SubjectsIn(entry.path())) {
            EXPECT_TRUE(subjects.insert(subject).second) << subject;
        }
    }
    EXPECT_EQ(subjects.size(), static_cast<std::size_t>(kThreads * kRecords));
    EXPECT_EQ(subjects.count("cut line"), 0U);
}

}  // namespace
