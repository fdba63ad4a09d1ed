// What is accepted and what is refused, where and why, as tables; the nesting bound on both sides.
#include "platform/json/bounded_json.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

namespace {

using Json::Comments;
using Json::JsonError;
using Json::ParseOptions;
using Json::Root;
using std::string_literals::operator""s;

constexpr std::size_t kMaxBytes = 64 * 1024;
constexpr ParseOptions kPlain{kMaxBytes};
constexpr ParseOptions kWithComments{kMaxBytes, Comments::Allowed};
constexpr ParseOptions kObjectOnly{kMaxBytes, Comments::Refused, Root::Object};

std::string Describe(const JsonError& error) {
    return std::to_string(error.line) + ":" + std::to_string(error.column) + ": " + error.Text();
}

// "ok", or the error as "LINE:COLUMN: REASON".
std::string Outcome(std::string_view text, const ParseOptions& options) {
    nlohmann::json document;
    JsonError error;
    return Json::Parse(text, options, document, error) ? "ok" : Describe(error);
}

std::string Repeat(std::string_view text, std::size_t count) {
    std::string repeated;
    for (std::size_t i = 0; i < count; ++i) {
        repeated += text;
    }
    return repeated;
}

struct GoodText {
    const char* name;
    std::string text;
    const char* compact;  // the document written back
};

const GoodText kGoodTexts[] = {
    {"scalar", " -12.5e-1\n", "-1.25"},
    {"negative zero", "-0", "0"},
    {"literals", "[true, false, null]", "[true,false,null]"},
    {"last of equal names wins", R"({"a": 1, "a": 2})", R"({"a":2})"},
    {"escapes", R"("\"\\\/\b\f\n\r\t\u0041\ud83d\uDE00")", R"("\"\\/\b\f\n\r\tA😀")"},
    {"an escaped NUL", R"("\u0000")", R"("\u0000")"},
    {"UTF-8 of every length", "\"\u00e4\u20ac\U0001F600\"", "\"\u00e4\u20ac\U0001F600\""},
    {"byte order mark", "\xEF\xBB\xBF{}", "{}"},
    {"exponent that underflows", "1e-400", "0.0"},
};

TEST(BoundedJson, BuildsTheDocument) {
    for (const GoodText& row : kGoodTexts) {
        SCOPED_TRACE(row.name);
        nlohmann::json document;
        JsonError error;
        EXPECT_TRUE(Json::Parse(row.text, kPlain, document, error)) << Describe(error);
        EXPECT_EQ(document.dump(), row.compact);
    }
}

struct BadText {
    std::string text;
    const char* error;
};

// By what a person would find at the place named.
const BadText kBadTexts[] = {
    {" \n ", "2:2: the text ends where a value is expected"},
    {"[1", "1:3: the text ends where ',' or ']' is expected"},
    {"{\"a\" 1}", "1:6: expected ':', found '1'"},
    {"{\"a\": 1\n \"b\": 2}", "2:2: expected ',' or '}', found '\"'"},
    {"{\"a\": 1,\n}",
     "2:1: expected a member name in double quotes, found '}'; remove the comma before it"},
    {"[1,]", "1:4: expected a value, found ']'; remove the comma before it"},
    {"{a: 1}", "1:2: expected a member name in double quotes or '}', found 'a'"},
    {"{'a': 1}", "1:2: expected a member name in double quotes or '}', found a single quote"},
    {"[True]", "1:2: expected a value or ']', found 'True'"},
    {"[nullandmuchmoreofthesame]", "1:2: expected a value or ']', found 'nullandmuchmoreofthe...'"},
    {"{} {}", "1:4: expected the end of the text, found '{'"},
    {"// no\n{}", "1:1: comments are not allowed here"},
    {"[\x1B[1m", "1:2: expected a value or ']', found the byte 0x1B"},
    {"\"\u00e4\u00f6\" \xC3", "1:6: expected the end of the text, found the byte 0xC3"},
    // Strings
    {"[\n  \"open]", "2:3: this string is never closed with '\"'"},
    {"\"a\nb\"",
     "1:3: a line break inside a string; close the string with '\"', or write '\\n' for a break"},
    {"\"\t\"",
     "1:2: the byte 0x09 inside a string; write control characters as '\\u00' and two hexadecimal "
     "digits"},
    {R"("\x41")", "1:2: '\\' in a string must be followed by one of \" \\ / b f n r t u"},
    {R"("\u12g4")", "1:2: '\\u' must be followed by four hexadecimal digits"},
    {R"("\u12)", "1:2: '\\u' must be followed by four hexadecimal digits"},
    // Numbers
    {"[-a]", "1:3: a number needs a digit after '-'"},
    {"1.", "1:3: a number needs a digit after '.'"},
    {"012", "1:2: expected the end of the text, found '1'"},
    {"[1, 1e999]", "1:5: the number is too large"},
    {"[1" + Repeat("0", 400) + "]", "1:2: the number is too large"},
    // NUL bytes, which the library would take for the end of the text
    {"{}\0garbage"s, "1:3: a NUL byte; the text must be JSON in UTF-8"},
    {"\"a\0b\""s, "1:3: a NUL byte; the text must be JSON in UTF-8"},
};

TEST(BoundedJson, ReportsPositionAndReasonOfARefusal) {
    for (const BadText& row : kBadTexts) {
        EXPECT_EQ(Outcome(row.text, kPlain), row.error) << row.text;
    }
}

TEST(BoundedJson, RefusesHalvesOfSurrogatePairs) {
    for (const char* text : {R"("\ud800")", R"("\udc00")", R"("\ud800x")", R"("\ud800\u0041")",
                             R"("\ud800\ud800")", R"("\udbff\uD7FF")"}) {
        EXPECT_NE(Outcome(text, kPlain).find("half of a surrogate pair"), std::string::npos)
            << text;
    }
}

TEST(BoundedJson, SkipsCommentsWhereTheyAreAllowed) {
    const BadText rows[] = {
        {"// one\n{ /* two */ \"a\" /**/ : // three\r 1 /***/ } // four", "ok"},
        {"{} /* open\n\n", "1:4: this comment is never closed with '*/'"},
        {"{} / {}", "1:4: expected '//' or '/*' where '/' stands alone"},
        {"// nothing else", "1:16: the text ends where a value is expected"},
        {"\"/* text */\"", "ok"},
        {"# shell", "1:1: expected a value, found '#'"},
    };
    for (const BadText& row : rows) {
        EXPECT_EQ(Outcome(row.text, kWithComments), row.error) << row.text;
    }
}

TEST(BoundedJson, RequiresAnObjectOnRequest) {
    EXPECT_EQ(Outcome(" {\"a\": []} ", kObjectOnly), "ok");
    EXPECT_EQ(Outcome("\n[]", kObjectOnly), "2:1: expected an object, '{', found '['");
    EXPECT_EQ(Outcome("null", kObjectOnly), "1:1: expected an object, '{', found 'null'");
    EXPECT_EQ(Outcome("", kObjectOnly), "1:1: the text ends where an object, '{' is expected");
}

TEST(BoundedJson, RefusesEqualNamesInOneObjectOnRequest) {
    constexpr ParseOptions kStrict{kMaxBytes, Comments::Refused, Root::AnyValue,
                                   Json::EqualNames::Refused};
    const BadText rows[] = {
        {R"({"a": 1, "b": 1})", "ok"},
        {R"({"a": {"a": {"b": 1}}, "b": [{"a": 1}, {"a": 1}]})", "ok"},
        {R"({"a": 1, "a": 1})", "0:0: an object has two members with the same name (\"a\")"},
        {R"({"a": 1, "\u0061": 1})", "0:0: an object has two members with the same name (\"a\")"},
        {R"({"a": [{"b": {"c": 1}, "\n": 1, "\n": 1, "c": 1, "b": 1}], "d": 1})",
         "0:0: an object has two members with the same name"},
        {R"({"": 1, "a": {}, "": 1})", "0:0: an object has two members with the same name (\"\")"},
        {R"({"a": 1, "a": })", "1:15: expected a value, found '}'"},
    };
    for (const BadText& row : rows) {
        EXPECT_EQ(Outcome(row.text, kStrict), row.error) << row.text;
    }
}

struct DeepText {
    const char* name;
    const char* opening;
    const char* inner;
    const char* closing;
};

TEST(BoundedJson, Accepts256NestedContainersButNot257) {
    const DeepText rows[] = {
        {"arrays", "[", "", "]"},
        {"objects", "{\"a\":", "1", "}"},
    };
    for (const DeepText& row : rows) {
        SCOPED_TRACE(row.name);
        const auto nested = [&row](std::size_t levels) {
            return Repeat(row.opening, levels) + row.inner + Repeat(row.closing, levels);
        };
        EXPECT_EQ(Outcome(nested(256), kPlain), "ok");
        const std::string column = std::to_string(256 * std::string_view(row.opening).size() + 1);
        EXPECT_EQ(Outcome(nested(257), kPlain), "1:" + column + ": nested deeper than 256 levels");
    }
    EXPECT_EQ(Outcome("[" + Repeat("[[]],", 300) + "0]", kPlain), "ok");
    EXPECT_EQ(Outcome("{\"text\": \"" + Repeat("[", 300) + "\"}", kPlain), "ok");
    EXPECT_EQ(Outcome(Repeat("[", kMaxBytes), kPlain), "1:257: nested deeper than 256 levels");
}

TEST(BoundedJson, RefusesATextOverItsSizeUnread) {
    constexpr ParseOptions kSmall{4};
    EXPECT_EQ(Outcome("1234", kSmall), "ok");
    EXPECT_EQ(Outcome("12345", kSmall), "0:0: longer than 4 bytes");
}

TEST(BoundedJson, LeavesTheDocumentAloneOnFailure) {
    nlohmann::json document = "kept";
    JsonError error;
    EXPECT_FALSE(Json::Parse("{\"a\": 1", kPlain, document, error));
    EXPECT_EQ(document, "kept");
}

}  // namespace
