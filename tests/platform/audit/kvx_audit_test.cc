// Records as they stand in the file of a temporary host root, and what becomes of them when the
// file is moved away, cannot be opened, or fills up.
#include "platform/audit/kvx_audit.h"

#include "support/captured_log.h"
#include "support/descriptors.h"
#include "support/host_directory.h"
#include "support/root_environment.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
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

const ::Test::RootEnvironment* const kRoot = ::Test::RootEnvironment::Add();

std::vector<std::string> LinesOf(const fs::path& file) {
    return ::Test::LinesOf(::Test::ReadFile(file));
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

class KvxAudit : public testing::Test {
  protected:
    KvxAudit() { fs::remove_all(directory); }

    const fs::path directory = kRoot->Path() + "var/log/korvex";
    const fs::path file = directory / "audit.jsonl";
    const CapturedLog log;
};

TEST_F(KvxAudit, WritesOneLineOfJsonPerRecord) {
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
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
    EXPECT_EQ(fs::status(directory).permissions(), fs::perms(0750));
    EXPECT_THAT(log.Lines(), testing::IsEmpty());
}

TEST_F(KvxAudit, KeepsStrangeTextsInOneAsciiLine) {
    const std::string longest(Audit::kMaxTextBytes, 'a');
    const std::pair<std::string, std::string> rows[] = {
        {"a\n\"b\\\r\0c"s, "a\n\"b\\\r\0c"s},
        {"\x7F\u009B\u2028\U0001F600", "\x7F\u009B\u2028\U0001F600"},
        {"a\xFF\x80z\xC3", "a\uFFFD\uFFFDz\uFFFD"},
        {longest, longest},
        {longest + std::string(1'000'000, 'b'), longest + "\u2026"},
        {longest.substr(3) + "\U0001F600", longest.substr(3) + "\u2026"},
    };
    for (const auto& [text, recorded] : rows) {
        fs::remove(file);
        const KvxAuditPair pairs[] = {{text, text}, {}};
        KvxAudit_LogList(text, text, text, true, pairs);
        const std::string line = LinesOf(file).at(0);
        EXPECT_EQ(line.size() + 1, fs::file_size(file));
        EXPECT_TRUE(std::all_of(line.begin(), line.end(),
                                [](char byte) { return byte >= ' ' && byte < '\x7F'; }));
        const ordered_json record = ordered_json::parse(line);
        for (const char* const member : {"eventID", "subject", "object"}) {
            EXPECT_EQ(record[member], recorded);
        }
        EXPECT_EQ(record["pairs"], (ordered_json{{recorded, recorded}}));
    }
}

TEST_F(KvxAudit, BoundsTheNumberOfPairs) {
    std::vector<KvxAuditPair> pairs(Audit::kMaxPairs + 2, {"key", "value"});
    pairs.back() = {};
    KvxAudit_LogList("api.call", "alice", "svc:op", true, pairs.data());
    EXPECT_EQ(ordered_json::parse(LinesOf(file).at(0))["pairs"],
              (ordered_json{{"key", "value"}, {"\u2026", "\u2026"}}));
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

TEST_F(KvxAudit, RenamesAFullFileAndKeepsEight) {
    const auto numbered = [this](int number) {
        return fs::path(file.string() + "." + std::to_string(number));
    };
    const auto fill = [this](const std::string& subject) {
        Record(subject);
        fs::resize_file(file, (64 << 20) - 1);  // the record that ends the cut line is one too many
        Record(subject);
    };
    for (int number = 9; number > 0; --number) {
        fill(std::to_string(number));
    }
    EXPECT_FALSE(fs::exists(file));
    for (int number = 1; number <= 8; ++number) {
        std::ifstream rotated(numbered(number));
        std::string record;
        std::getline(rotated, record, '}');
        EXPECT_NE(record.find(R"("subject":")" + std::to_string(number)), std::string::npos);
    }
    EXPECT_FALSE(fs::exists(numbered(9)));
    EXPECT_THAT(log.Lines(), testing::IsEmpty());

    fs::remove(numbered(8));
    fs::create_directory(numbered(8));
    fill("stays");
    Record("goes on");
    EXPECT_GT(fs::file_size(file), 64U << 20);
    EXPECT_THAT(log.Lines(),
                ElementsAre("3 KvxAudit: The audit log exceeds its size limit: Cannot rename "
                            "/var/log/korvex/audit.jsonl.7 to /var/log/korvex/audit.jsonl.8: not a "
                            "regular file; move it away"));
}

TEST_F(KvxAudit, ReportsAnEntryThatIsNotAFile) {
    struct Row {
        std::function<void()> obstruct;
        const char* reason;
    };
    const fs::path elsewhere = directory.parent_path() / "elsewhere";
    const Row rows[] = {
        {[&] { fs::create_directory(file); }, "not a regular file; move it away"},
        {[&] { (void)mkfifo(file.c_str(), 0600); }, "not a regular file; move it away"},
        {[&] { fs::create_symlink(elsewhere, file); },
         "the path is a symbolic link, which is not followed; remove it"},
        {[&] {
             fs::remove(directory);
             fs::create_symlink(elsewhere, directory);
         },
         "No such file or directory; remove the dangling link at the path of one of its "
         "directories"},
    };
    std::vector<std::string> lines;
    for (const Row& row : rows) {
        fs::remove_all(directory);
        Record("good");  // the file is open when the obstacle comes
        fs::remove(file);
        row.obstruct();
        Record("bad\n");
        Record("bad\n");
        lines.resize(lines.size() + 2,
                     "3 KvxAudit: Audit record of svc:op for user \"bad\\x0a\" (success: true) is "
                     "lost: Cannot open /var/log/korvex/audit.jsonl: "s +
                         row.reason);
        EXPECT_FALSE(fs::exists(elsewhere));
    }
    EXPECT_EQ(log.Lines(), lines);
    fs::remove_all(directory);
    Record("good again");
    EXPECT_THAT(SubjectsIn(file), ElementsAre("good again"));
}

TEST_F(KvxAudit, CompletesALineThatWasCut) {
    // Longer than the log of this process, to which the limit applies, too.
    fs::create_directories(directory);
    ::Test::WriteFile(file, R"({"subject": "before"})" + std::string(1 << 20, ' ') + "\n");
    const std::uintmax_t size = fs::file_size(file);
    {
        const ::Test::LoweredLimit limited(RLIMIT_FSIZE, size + 10);
        Record("cut");
    }
    EXPECT_EQ(fs::file_size(file), size + 10);
    EXPECT_EQ(log.Count("(success: true) is lost: Cannot write /var/log/korvex/audit.jsonl: File "
                        "too large; move it away, or raise the file size limit"),
              1U);

    Record("after");
    Record("last");
    EXPECT_THAT(SubjectsIn(file), ElementsAre("before", "cut line", "after", "last"));
}

TEST_F(KvxAudit, KeepsLinesOfManyThreadsWholeAcrossRotations) {
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
