// The publisher over real directories: what it lists and reads, and what it says of everything else
// that may stand there.
#include "store/publisher.h"

#include "platform/pellmar/log/logger.h"
#include "platform/sys/owned_fd.h"
#include "support/captured_log.h"
#include "support/descriptors.h"
#include "support/host_directory.h"
#include "support/sanitizers.h"
#include "support/stored_report.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using Pellmar::Service::Logger;
using Sentrel::kNoStartTime;
using Sentrel::Publisher;
using Sentrel::Report;
using Sentrel::ReportFile;
using Test::CapturedLog;
using Test::HostDirectory;
using Test::WriteFile;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Lt;
using testing::SizeIs;
using testing::StartsWith;
using testing::UnorderedElementsAre;

std::string Document(std::string_view name, int status = 0,
                     std::string_view time = "2024-03-05T14:07:09") {
    return Test::ReportText{name, time, status, "{}"}.Document();
}

constexpr std::size_t kMaxSize = 16 * 1024 * 1024;

std::string Padded(std::string text, std::size_t size) {
    text.resize(size, '\n');
    return text;
}

// A report directory and what publishes it.
struct Published {
    CapturedLog log;
    HostDirectory host;
    std::string directory = host.ReportDirectory() + "/";
    Pellmar::Ref<Logger> logger = Logger::CreateLogger(Logger::sDefaultLogger, "publisher");
    Publisher publisher{directory, logger};

    std::string Path(const std::string& name) const { return directory + name; }
    void Link(const fs::path& target, const std::string& name) const {
        fs::create_symlink(target, Path(name));
    }
    void Store(const std::string& name, const std::string& document) const {
        Test::StoreReport(directory, name, document);
    }
    std::vector<std::string> ListedNames(const std::vector<std::string>& names = {}) const {
        std::vector<std::string> listed;
        for (const ReportFile& file : publisher.ListReportFiles(names)) {
            listed.push_back(file.name);
        }
        return listed;
    }
    std::vector<std::string> ReadNames(const std::vector<std::int32_t>& statuses = {},
                                       std::int64_t startTime = kNoStartTime) const {
        std::vector<std::string> names;
        for (const Report& report : publisher.GetReports({}, statuses, startTime)) {
            names.push_back(report.name);
        }
        return names;
    }
    std::vector<std::string> Failures() const {
        std::vector<std::string> lines = log.Lines();
        std::erase_if(lines, [](const std::string& line) { return !line.starts_with("3 "); });
        return lines;
    }
};

TEST(Publisher, NamesAReportAfterTheStemOfItsLink) {
    for (const char* const link :
         {"cpu", "mem.txt", "disk.sda.json", ".json", ".cpu.json", "..json", "...", "a.", "a..",
          "cpu load.json", "\xFF\xFE.json", ".a", "-"}) {
        const Published store;
        WriteFile(store.host.Base() + "stored", "");
        store.Link(store.host.Base() + "stored", link);
        EXPECT_THAT(store.ListedNames(), ElementsAre(fs::path(link).stem().native())) << link;
    }
}

TEST(Publisher, LogsEachStep) {
    const Published store;
    const std::string stored = store.host.Base() + "stored";
    WriteFile(stored, Document("cpu"));
    store.Link(stored, "cpu.json");
    store.ListedNames({"mem"});
    store.ReadNames();
    const std::string checking = "7 publisher: Checking file: " + store.Path("cpu.json") + ".";
    EXPECT_THAT(
        store.log.Lines(),
        ElementsAre("5 publisher: Publishing reports from: " + store.directory, checking, checking,
                    "6 publisher: Report: cpu (" + stored + ") rejected by prefilter.", checking,
                    checking, "6 publisher: Reading file: " + stored,
                    R"(7 publisher: Parsed JSON: {"structured":{"name":"cpu","status":0,)"
                    R"("time":"2024-03-05T14:07:09"},"unstructured":{}})"));
}

TEST(Publisher, FindsLinksInSubdirectoriesButFollowsNone) {
    const Published store;
    store.Store("cpu", Document("cpu", 1));
    store.Store("sub/cpu", Document("cpu", 2));
    store.Store("sub/deep/mem", Document("mem"));
    store.Link(store.Path("sub"), "loop.json");
    EXPECT_THAT(store.ListedNames(), UnorderedElementsAre("cpu", "cpu", "mem"));
    EXPECT_THAT(store.ReadNames(), UnorderedElementsAre("cpu", "cpu", "mem"));
    EXPECT_THAT(store.ReadNames({2}), ElementsAre("cpu"));
}

TEST(Publisher, ResolvesTargetsAgainstTheWorkingDirectory) {
    const Published store;
    const std::string relative = fs::relative(store.Path("cpu-0.json"));
    WriteFile(store.Path("cpu-0.json"), Document("cpu"));
    store.Link(relative, "cpu.json");
    store.Link("cpu-0.json", "mem.json");
    EXPECT_EQ(store.publisher.ListReportFiles({}).at(0).path, relative);
    EXPECT_THAT(store.ReadNames(), ElementsAre("cpu"));
}

// Each is one line, no report, and the end of nothing else.
TEST(Publisher, LeavesOutDanglingLinks) {
    const struct {
        std::function<void(const std::string& target)> make;
        std::string reason;
    } rows[] = {
        {[](const std::string&) {}, "No such file or directory"},
        {[](const std::string& path) { fs::create_directory(path); }, "Success"},
        {[](const std::string& path) { ::mkfifo(path.c_str(), 0600); }, "Success"},
        {[](const std::string& path) { fs::create_symlink(path, path); },
         "Too many levels of symbolic links"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.reason);
        const Published store;
        const std::string target = store.host.Base() + "target";
        row.make(target);
        store.Store("cpu", Document("cpu"));
        store.Link(target, "odd.json");
        EXPECT_THAT(store.ReadNames(), ElementsAre("cpu"));
        EXPECT_THAT(store.Failures(),
                    ElementsAre("3 publisher: Target of symlink: " + store.Path("odd.json") +
                                " -> " + target + " is not a regular file: " + row.reason));
    }
}

TEST(Publisher, LogsAMissingDirectory) {
    for (const std::string directory : {"/missing/", ""}) {
        const Published store;
        const Publisher publisher(directory, store.logger);
        EXPECT_THAT(publisher.ListReportFiles({}), IsEmpty());
        EXPECT_THAT(store.Failures(),
                    ElementsAre("3 publisher: Error enumerating reports in path: " + directory +
                                ". No such file or directory (2)"));
    }
}

TEST(Publisher, KeepsWhatItFoundBeforeTheWalkFailed) {
    if (kHasAddressSanitizer) {
        GTEST_SKIP() << "the sanitizer itself needs a descriptor";
    }
    const Published store;
    for (const std::string name : {"a", "b", "c", "d", "e", "f"}) {
        store.Store(name, "");
    }
    store.Store("sub/last", "");
    std::vector<std::string> names = store.ListedNames();
    names.erase(std::find(names.begin(), names.end(), "last"), names.end());

    const int lowestFree = Sys::OwnedFd(::dup(STDIN_FILENO)).Get();
    {
        const ::Test::LoweredLimit one(RLIMIT_NOFILE, static_cast<rlim_t>(lowestFree) + 1);
        EXPECT_EQ(store.ListedNames(), names);
    }
    EXPECT_THAT(store.Failures(), ElementsAre("3 publisher: Error enumerating reports in path: " +
                                              store.directory + ". Too many open files (24)"));
}

// Each costs two lines and the one report.
TEST(Publisher, LeavesOutReportsThatCannotBeRead) {
    const Published store;
    const std::string stored = store.Path("odd-0.json");
    const std::string publisher = "3 publisher: ";
    const std::string parseError =
        publisher + "JSON error for " + stored + ": [json.exception.parse_error.101] ";
    const struct {
        std::string text;
        std::string fault;
    } rows[] = {
        {"", parseError},
        {Document("odd") + "x", parseError},
        {Document("\xFF"), parseError},
        {std::string(257, '['), parseError},
        {std::string(1'000'000, '9'),
         publisher + "JSON error for " + stored + ": [json.exception.out_of_range.406] "},
        {"{}", "3 sentrel: JSON parse error: [json.exception.out_of_range.403] "},
        {Padded(Document("odd"), kMaxSize + 1),
         publisher + "Error reading " + stored + ": longer than 16777216 bytes"},
    };
    store.Store("cpu", Document("cpu"));
    store.Store("full", Padded(Document("full"), kMaxSize));
    EXPECT_THAT(store.ReadNames(), UnorderedElementsAre("cpu", "full"));
    fs::remove(store.Path("full.json"));
    for (const auto& row : rows) {
        const std::size_t before = store.Failures().size();
        store.Store("odd", row.text);
        EXPECT_THAT(store.ReadNames(), ElementsAre("cpu"));
        std::vector<std::string> lines = store.Failures();
        lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(before));
        EXPECT_THAT(lines, ElementsAre(AllOf(StartsWith(row.fault), SizeIs(Lt(1500U))),
                                       publisher + "Report name:  does not match filename: odd. "
                                                   "Skipping odd"));
    }
}

TEST(Publisher, EndsAQueryAtItsLimits) {
    const Published store;
    for (const char* const name : {"a", "b", "c"}) {
        store.Store(name, Document(name));
    }
    const auto count = [&](const Sentrel::QueryLimits& limits, const char* name = nullptr) {
        const auto names = name ? std::vector<std::string>{name} : std::vector<std::string>{};
        return store.publisher.GetReports(names, {}, kNoStartTime, limits).size();
    };
    const std::size_t size = Document("a").size();
    const std::size_t texts = sizeof("2024-03-05T14:07:09") - 1 + sizeof("{}") - 1;
    EXPECT_EQ(count({.maxTextBytes = 2 * texts + size}), 3U);
    EXPECT_THAT(store.Failures(), IsEmpty());
    EXPECT_EQ(count({.maxTextBytes = 2 * texts + size - 1}), 2U);
    EXPECT_THAT(
        store.Failures(),
        ElementsAre(AllOf(StartsWith("3 publisher: Error reading " + store.directory),
                          EndsWith("-0.json: beyond the " + std::to_string(2 * texts + size - 1) +
                                   " bytes of one listing; ask for it by name")),
                    StartsWith("3 publisher: Report name:  does not match filename: ")));
    const ::Test::ReportText growing{"grows", "", 0, "[1e9,1e9,1e9,1e9,1e9,1e9,1e9,1e9,1e9]"};
    store.Store("grows", growing.Document());
    EXPECT_EQ(count({.maxTextBytes = growing.Document().size()}, "grows"), 0U);
    EXPECT_EQ(count({}, "grows"), 1U);
    int asked = 0;
    EXPECT_EQ(count({.isAbandoned = [&asked] { return ++asked > 2; }}), 2U);
}

TEST(Publisher, RequiresTheLinksNameInTheReport) {
    const Published store;
    store.Store("cpu", Document("CPU"));
    store.Store("mem", Document(std::string(100'000, 'y')));  // too long for one line of the log
    EXPECT_THAT(store.ReadNames(), ElementsAre("CPU"));
    EXPECT_THAT(store.Failures(),
                ElementsAre("3 publisher: Report name: " + std::string(1024, 'y') +
                            " does not match filename: mem. Skipping mem"));
}

TEST(Publisher, AsksEveryFilter) {
    const Published store;
    store.Store("both", Document("both", 1, "2024-03-05T14:07:09"));
    store.Store("early", Document("early", 1, "2001-01-01T00:00:00"));
    store.Store("none", Document("none", 3, "2001-01-01T00:00:00"));
    EXPECT_THAT(store.ReadNames({1, 2}, 1'500'000'000'000'000'000), ElementsAre("both"));

    EXPECT_EQ(store.log.Count(" rejected by filter: "), 3U);
    for (const std::string line : {"Added status filter", "Added time filter",
                                   "Report: early rejected by filter: Time filter. Skipping early",
                                   "Report: none rejected by filter: Status filter. Skipping none",
                                   "Report: none rejected by filter: Time filter. Skipping none"}) {
        EXPECT_EQ(store.log.Count("6 publisher: " + line), 1U) << line;
    }
}

}  // namespace
