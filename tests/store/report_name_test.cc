// The hand-written matchers against the regular expressions whose languages they are to accept.
// g++ takes parts of <regex> for uninitialised when it instruments them for the sanitizers.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include "store/report_name.h"

#include <optional>
#include <random>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Sentrel::IsReportName;
using Sentrel::MatchesStoredFile;
using std::string_view_literals::operator""sv;

bool RuleAsRegex(const std::string& name) {
    static const std::regex kRule{std::string(Sentrel::kReportNameRule)};
    return std::regex_match(name, kRule);
}

std::optional<int> StoredFileAsRegex(const std::string& name, const std::string& fileName) {
    const std::regex pattern("^" + name + "-([0-9])\\.json$");
    std::smatch match;
    if (!std::regex_match(fileName, match, pattern)) {
        return std::nullopt;
    }
    return std::stoi(match[1]);
}

// The same sequence at every run: the engine's output is fixed by the standard.
class Generator {
  public:
    explicit Generator(unsigned seed) : engine(seed) {}

    std::size_t Below(std::size_t bound) { return engine() % bound; }

    std::string Text(std::string_view alphabet, std::size_t maxLength) {
        std::string text(Below(maxLength + 1), '\0');
        for (char& c : text) {
            c = alphabet[Below(alphabet.size())];
        }
        return text;
    }

  private:
    std::mt19937 engine;
};

TEST(ReportName, FollowsTheRule) {
    const struct {
        std::string name;
        bool accepted;
    } rows[] = {
        {"cpu", true},       {"disk.sda-1", true},
        {"..", true},        {".", true},
        {"a_b", true},       {"-", true},
        {"AZaz09_.-", true}, {"", false},
        {"cpu load", false}, {"a/b", false},
        {"/", false},        {"a\n", false},
        {"\n", false},       {"a\\", false},
        {"a[b", false},      {"caf\xc3\xa9", false},
        {"a%41", false},     {"a\x7f", false},
        {"@", false},        {"`", false},
        {"{", false},        {std::string("a\0b", 3), false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.name));
        EXPECT_EQ(IsReportName(row.name), row.accepted);
        EXPECT_EQ(RuleAsRegex(row.name), row.accepted);
    }
}

TEST(ReportName, AgreesWithTheExpressionOnEveryByte) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string name(1, static_cast<char>(byte));
        EXPECT_EQ(IsReportName(name), RuleAsRegex(name)) << "byte " << byte;
        EXPECT_EQ(IsReportName("a" + name + "b"), RuleAsRegex("a" + name + "b")) << "byte " << byte;
    }
}

TEST(ReportName, AgreesWithTheExpressionOnGeneratedNames) {
    Generator generator(1);
    int accepted = 0;
    for (int i = 0; i < 20000; ++i) {
        const std::string name = generator.Text("aZ09_.-aZ09_.-aZ09_.- /\n\0\x80"sv, 8);
        const bool matches = RuleAsRegex(name);
        accepted += matches ? 1 : 0;
        ASSERT_EQ(IsReportName(name), matches) << testing::PrintToString(name);
    }
    EXPECT_GT(accepted, 5000);  // both outcomes are really drawn
    EXPECT_LT(accepted, 15000);
}

TEST(ReportName, TakesNamesOfAnyLength) {
    const std::string name(10'000'000, 'n');  // deeper than any stack
    EXPECT_TRUE(IsReportName(name));
    EXPECT_FALSE(IsReportName(name + " "));
    EXPECT_EQ(MatchesStoredFile(name, name + "-4.json"), 4);
}

TEST(StoredFile, IsRecognisedByItsName) {
    const struct {
        std::string name;
        std::string fileName;
        std::optional<int> index;
    } rows[] = {
        {"cpu", "cpu-0.json", 0},
        {"cpu", "cpu-9.json", 9},
        {"cpu", "cpu-10.json", {}},
        {"cpu", "cpu-a.json", {}},
        {"cpu", "cpu-/.json", {}},
        {"cpu", "cpu-:.json", {}},
        {"cpu", "cpu-.json", {}},
        {"cpu", "cpu.json", {}},
        {"cpu", ".cpu-0.json", {}},
        {"cpu", "cpu-0xjson", {}},
        {"cpu", "cpu-0.jsonx", {}},
        {"cpu", "cpu-0.JSON", {}},
        {"cpu", "Cpu-0.json", {}},
        {"cpu", "cpu_0.json", {}},
        {"cpu", "cpu-0.json\n", {}},
        {"cpu", "mem-0.json", {}},
        {"cpu", "", {}},
        {"cpu-1", "cpu-1-2.json", 2},
        {"cpu", "cpu-1-2.json", {}},
        {"a.b", "a.b-2.json", 2},
        {"a.b", "aXb-2.json", 2},
        {"a.b",
         "a\xff"
         "b-2.json",
         2},
        {"a.b", "a\nb-2.json", {}},
        {"a.b", "a\rb-2.json", {}},
        {"a.b", "ab-2.json", {}},
        {"..", "--1.json", {}},
        {"..", "ab-1.json", 1},
        {".", "--1.json", 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name + " and " + testing::PrintToString(row.fileName));
        EXPECT_EQ(MatchesStoredFile(row.name, row.fileName), row.index);
        EXPECT_EQ(StoredFileAsRegex(row.name, row.fileName), row.index);
    }
}

TEST(StoredFile, AgreesWithTheExpressionOnGeneratedNames) {
    Generator generator(2);
    int matching = 0;
    for (int i = 0; i < 5000; ++i) {
        const std::string name = generator.Text("ab.-_", 3) + "a";
        std::string fileName = name + "-" + generator.Text("0123456789", 2) + ".json";
        for (std::size_t changes = generator.Below(3); changes > 0; --changes) {
            constexpr std::string_view kReplacements = "ab.-_0\n\r\0\x80X"sv;
            fileName[generator.Below(fileName.size())] =
                kReplacements[generator.Below(kReplacements.size())];
        }
        const std::optional<int> expected = StoredFileAsRegex(name, fileName);
        matching += expected ? 1 : 0;
        ASSERT_EQ(MatchesStoredFile(name, fileName), expected)
            << name << " and " << testing::PrintToString(fileName);
    }
    EXPECT_GT(matching, 500);  // both outcomes are really drawn
    EXPECT_LT(matching, 4500);
}

}  // namespace
