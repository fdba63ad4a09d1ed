// The hand-written matchers against the regular expressions whose languages they are to accept.
// g++ takes parts of <regex> for uninitialised when it instruments them for the sanitizers.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include "store/report_name.h"

#include <optional>
#include <regex>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

using Sentrel::IsReportName;
using Sentrel::MatchesStoredFile;

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
    }
}

TEST(StoredFile, BelongsToAReportName) {
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

}  // namespace
