// The merge of the two files and the typed look-up in its result.
#include "platform/tabulon/json_reader.h"

#include "support/captured_log.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace {

using nlohmann::json;
using Pellmar::Service::ConfigReader;

const Tabulon::EntryPaths kPaths = {"/vendor.json", "/host.json"};

Pellmar::Ref<ConfigReader> ReaderOf(const char* vendor, const char* host) {
    return Tabulon::MakeJsonReader(kPaths, json::parse(vendor), json::parse(host));
}

// What GetInt does to a variable that holds 7: "found N", or "missing" when it stays 7.
std::string IntOf(const Pellmar::Ref<ConfigReader>& reader, std::string_view key) {
    std::int32_t value = 7;
    const bool isFound = reader->GetInt(key, value);
    if (!isFound && value == 7) {
        return "missing";
    }
    return (isFound ? "found " : "missing but changed to ") + std::to_string(value);
}

TEST(JsonReader, MergesTheHostsValuesOverTheVendors) {
    struct Row {
        const char* name;
        const char* vendor;
        const char* host;
        const char* key;
        const char* expected;
    };
    const Row rows[] = {
        {"neither", "{}", "{}", "a", "missing"},
        {"host alone", "{}", R"({"a": 2})", "a", "found 2"},
        {"host wins", R"({"a": 1})", R"({"a": 2})", "a", "found 2"},
        {"null removes", R"({"a": 1})", R"({"a": null})", "a", "missing"},
        {"null of the host alone is missing", "{}", R"({"a": {"b": null}})", "a/b", "missing"},
        {"siblings stay", R"({"a": {"b": 1, "c": 3}})", R"({"a": {"b": 2}})", "a/c", "found 3"},
        {"inner null removes", R"({"a": {"b": 1}})", R"({"a": {"b": null}})", "a/b", "missing"},
        {"an object replaces a value", R"({"a": 1})", R"({"a": {"b": 2}})", "a/b", "found 2"},
        {"a name with a slash is out of reach", R"({"a/b": 1})", "{}", "a/b", "missing"},
        {"the empty key is a name", R"({"": 6})", "{}", "", "found 6"},
        {"the largest", R"({"a": 2147483647})", "{}", "a", "found 2147483647"},
        {"the smallest", R"({"a": -2147483648})", "{}", "a", "found -2147483648"},
    };
    for (const Row& row : rows) {
        const ::Test::CapturedLog log;
        EXPECT_EQ(IntOf(ReaderOf(row.vendor, row.host), row.key), row.expected) << row.name;
        EXPECT_EQ(log.Lines(), std::vector<std::string>()) << row.name;
    }
}

TEST(JsonReader, ReadsBooleansAndTextsOfTheirOwnTypeOnly) {
    const ::Test::CapturedLog log;
    const auto reader =
        ReaderOf(R"({"yes": true, "no": false, "one": 1, "text": "true", "empty": ""})", "{}");
    bool flag = true;
    EXPECT_TRUE(reader->GetBool("no", flag) && !flag);
    EXPECT_TRUE(reader->GetBool("yes", flag) && flag);
    EXPECT_FALSE(reader->GetBool("one", flag) || reader->GetBool("text", flag));
    EXPECT_TRUE(flag);

    std::string text = "preset";
    EXPECT_FALSE(reader->GetString("one", text) || reader->GetString("yes", text));
    EXPECT_EQ(text, "preset");
    EXPECT_TRUE(reader->GetString("text", text) && text == "true");
    EXPECT_TRUE(reader->GetString("empty", text) && text.empty());
}

std::string WrongType(const std::string& file, const std::string& key, const std::string& wanted,
                      const std::string& found) {
    return "3 Tabulon: " + file + ": the value of \"" + key + "\" must be " + wanted + " but is " +
           found + ", so it counts as missing; correct the file and restart";
}

TEST(JsonReader, LogsFileKeyAndTypesOfAWrongValue) {
    const auto reader = ReaderOf(R"({"port": "9996", "on": 1, "huge": 2147483648, "half": 0.5,
                                     "list": [], "queue": {"minutes": "x"}, "flat": 3})",
                                 R"({"on": "yes", "level": {}, "queue": {"name": true}})");
    const ::Test::CapturedLog log;
    std::int32_t number = 0;
    bool flag = false;
    std::string text;
    EXPECT_FALSE(reader->GetInt("port", number));
    EXPECT_FALSE(reader->GetBool("on", flag));
    EXPECT_FALSE(reader->GetInt("huge", number));
    EXPECT_FALSE(reader->GetInt("half", number));
    EXPECT_FALSE(reader->GetString("list", text));
    EXPECT_FALSE(reader->GetString("level", text));
    EXPECT_FALSE(reader->GetInt("queue/minutes", number));
    EXPECT_FALSE(reader->GetString("queue/name", text));
    EXPECT_FALSE(reader->GetInt("flat/minutes", number));

    const std::string integer = "an integer of 32 bits";
    const std::vector<std::string> expected = {
        WrongType("/vendor.json", "port", integer, "a string"),
        WrongType("/host.json", "on", "a boolean", "a string"),
        WrongType("/vendor.json", "huge", integer, "an integer outside 32 bits"),
        WrongType("/vendor.json", "half", integer, "a number with a fraction or an exponent"),
        WrongType("/vendor.json", "list", "a string", "an array"),
        WrongType("/host.json", "level", "a string", "an object"),
        WrongType("/vendor.json", "queue/minutes", integer, "a string"),
        WrongType("/host.json", "queue/name", "a string", "a boolean"),
        WrongType("/vendor.json", "flat", "an object", "an integer"),
    };
    EXPECT_EQ(log.Lines(), expected);
}

}  // namespace
