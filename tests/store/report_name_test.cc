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

#include <gtest/gtest.h>

namespace {

using Sentrel::IsReportName;
using Sentrel::MatchesStoredFile;
using std::string_view_literals::operator""sv;

std::optional<int> StoredFileAsRegex(const std::string& name, const std::string& fileName) {
    const std::regex pattern("^" + name + "-([0-9])\\.json$");
    std::smatch match;
    return std::regex_match(fileName, match, pattern) ? std::optional(std::stoi(match[1]))
                                                      : std::nullopt;
}

TEST(ReportName, FollowsTheRuleWithEveryByteEverywhere) {
    const std::regex rule{std::string(Sentrel::kReportNameRule)};
    EXPECT_FALSE(IsReportName(""));
    for (int code = 0; code < 256; ++code) {
        const std::string byte(1, static_cast<char>(code));
        for (const std::string& name : {byte, byte + "a", "a" + byte, "a" + byte + "b"}) {
            EXPECT_EQ(IsReportName(name), std::regex_match(name, rule)) << "byte " << code;
        }
    }
    EXPECT_TRUE(IsReportName("AZaz09_.-"));
    EXPECT_FALSE(IsReportName("a/b"));
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
        {"cpu", "cpu-.json", {}},
        {"cpu", "cpu.json", {}},
        {"cpu", ".cpu-0.json", {}},
        {"cpu", "cpu-0xjson", {}},
        {"cpu", "cpu-0.JSON", {}},
        {"cpu", "Cpu-0.json", {}},
        {"cpu", "cpu-0.json\n", {}},
        {"cpu", "", {}},
        {"cpu-1", "cpu-1-2.json", 2},
        {"cpu", "cpu-1-2.json", {}},
        {"a.b", "aXb-2.json", 2},
        {"a.b", "a\nb-2.json", {}},
        {"a.b",
         "a\x80"
         "b-2.json",
         2},
        {"..", "--1.json", {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name + " and " + testing::PrintToString(row.fileName));
        EXPECT_EQ(MatchesStoredFile(row.name, row.fileName), row.index);
        EXPECT_EQ(StoredFileAsRegex(row.name, row.fileName), row.index);
    }
}

TEST(StoredFile, TellsTheNameThatItIsOf) {
    const struct {
        std::string_view fileName;
        std::optional<std::string_view> ofLink;
        std::optional<std::string_view> ofStored;
    } rows[] = {
        {"cpu.json", "cpu", {}},
        {"cpu-1.json", "cpu-1", "cpu"},
        {".cpu-1.json", ".cpu-1", ".cpu"},
        {"cpu-10.json", "cpu-10", {}},
        {"a b-1.json", "a b-1", {}},
        {"-1.json", "-1", {}},
        {"cpu", {}, {}},
        {"", {}, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fileName);
        EXPECT_EQ(Sentrel::NameOfLink(row.fileName), row.ofLink);
        EXPECT_EQ(Sentrel::NameOfStoredFile(row.fileName), row.ofStored);
    }
}

TEST(StoredFile, AgreesWithTheExpressionOnGeneratedNames) {
    std::mt19937 engine(2);  // its output is fixed by the standard
    const auto pick = [&engine](std::string_view alphabet) {
        return alphabet[engine() % alphabet.size()];
    };
    int matching = 0;
    for (int i = 0; i < 5000; ++i) {
        const std::string name = {pick("ab.-_"), pick("ab.-_"), 'a'};
        std::string fileName = name + "-" + pick("0123456789") + ".json";
        for (std::size_t changes = engine() % 3; changes > 0; --changes) {
            fileName[engine() % fileName.size()] = pick("ab.-_0/:\n\r\0\x80X"sv);
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
