// The settings of a check: their file, its defaults, and what is refused of it.
#include "sentrel_check/settings.h"

#include "support/host_directory.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>

#include <sys/stat.h>

namespace {

using SentrelCheck::Bad;
using SentrelCheck::Limits;
using SentrelCheck::Settings;
using SentrelCheck::SettingsError;
using testing::ElementsAre;
using testing::HasSubstr;

class SettingsFile : public testing::Test {
  protected:
    std::string Write(const std::string& text) const {
        ::Test::WriteFile(path, text);
        return path;
    }
    const ::Test::TemporaryDirectory directory;
    const std::string path = directory.Path() + "cpu.json";
};

// All that a check could ask for, in one go. Gives the error, or an empty text.
std::string ErrorOf(const std::string& path) {
    try {
        Settings settings(path);
        (void)settings.GetLimits("high", {1, 2}, Bad::High);
        (void)settings.GetLimits("low", {2, 1}, Bad::Low);
        (void)settings.GetBool("flag", false);
        (void)settings.GetString("text", "");
        (void)settings.GetList("list");
        settings.RefuseUnknown();
        return "";
    } catch (const SettingsError& error) {
        return error.what();
    }
}

TEST_F(SettingsFile, OverridesTheDefaultsOneByOne) {
    Settings settings(Write(R"({
        // a comment
        "high": {"warning": 1.5}, "off": {"critical": null},
        "flag": true, "text": "B", "list": ["eth*", "lo"] })"));
    const Limits high = settings.GetLimits("high", {1, 2}, Bad::High);
    EXPECT_EQ(high.warning, 1.5);
    EXPECT_EQ(high.critical, 2);
    EXPECT_EQ(settings.GetLimits("off", {1, 2}, Bad::High).critical, std::nullopt);
    EXPECT_EQ(settings.GetLimits("absent", {1, 2}, Bad::High).critical, 2);
    EXPECT_TRUE(settings.GetBool("flag", false));
    EXPECT_EQ(settings.GetString("text", "A"), "B");
    EXPECT_THAT(settings.GetList("list"), ElementsAre("eth*", "lo"));
    settings.RefuseUnknown();
}

TEST_F(SettingsFile, MayBeMissing) {
    EXPECT_EQ(ErrorOf(path), "");
    EXPECT_EQ(ErrorOf(directory.Path() + "no/such/directory.json"), "");
}

TEST_F(SettingsFile, IsRefusedWithAReasonWhenItIsBroken) {
    const struct {
        const char* text;
        const char* reason;
    } rows[] = {
        {"", "line 1, column 1: "},
        {"{\n\"high\": }", "line 2, column 9: "},
        {R"({"hihg": {"warning": 1}})", "unknown setting \"hihg\"; known settings: high, low"},
        {R"({"high": 5})", "\"high\" must be an object with the numbers"},
        {R"({"high": {"warning": "5"}})", "\"warning\" is invalid"},
        {R"({"high": {"warn": 5}})", "\"warn\" is invalid"},
        {R"({"high": {"warning": 3}})", "critical before it is a warning"},
        {R"({"low": {"critical": 3}})", "critical before it is a warning"},
        {R"({"flag": 1})", "\"flag\" must be true or false"},
        {R"({"text": null})", "\"text\" must be a string"},
        {R"({"list": [1]})", "\"list\" must be a list of strings"},
    };
    for (const auto& row : rows) {
        EXPECT_THAT(ErrorOf(Write(row.text)), testing::AllOf(HasSubstr(path), HasSubstr(row.reason),
                                                             HasSubstr("correct or remove")))
            << row.text;
    }
}

TEST_F(SettingsFile, IsRefusedWhenItCannotBeRead) {
    EXPECT_THAT(ErrorOf(Write("{" + std::string(100'000, ' ') + "}")),
                HasSubstr("longer than 65536 bytes"));
    EXPECT_THAT(ErrorOf(directory.Path()), HasSubstr("not a regular file"));
    const std::string fifo = directory.Path() + "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_THAT(ErrorOf(fifo), HasSubstr("not a regular file"));
}

TEST(MatchesAny, SupportsWildcards) {
    EXPECT_TRUE(SentrelCheck::MatchesAny({"lo", "eth*"}, "eth12"));
    EXPECT_TRUE(SentrelCheck::MatchesAny({"/srv/*"}, "/srv/a/b"));
    EXPECT_FALSE(SentrelCheck::MatchesAny({"eth?", ""}, "eth12"));
    EXPECT_FALSE(SentrelCheck::MatchesAny({}, "eth12"));
}

}  // namespace
