#include "platform/sys/utf8.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string_view>

namespace {

TEST(Utf8, ReturnsTheLengthOfWellFormedCharactersOnly) {
    const struct {
        const char* name;
        std::string_view text;
        std::size_t length;
    } rows[] = {
        {"ASCII", "a", 1},
        {"control character", "\x1F", 1},
        {"last of three bytes", "\xEF\xBF\xBF", 3},
        {"last before the surrogates", "\xED\x9F\xBF", 3},
        {"last of Unicode", "\xF4\x8F\xBF\xBF", 4},
        {"continuation", "\x80", 0},
        {"overlong in two bytes", "\xC1\xBF", 0},
        {"overlong in four bytes", "\xF0\x8F\xBF\xBF", 0},
        {"surrogate", "\xED\xA0\x80", 0},
        {"beyond Unicode", "\xF4\x90\x80\x80", 0},
        {"cut after the lead", "\xC3", 0},
        {"cut before the last", "\xF0\x9F\x98", 0},
        {"third byte of another character",
         "\xE2\x82"
         "a",
         0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Sys::Utf8LengthAt(row.text, 0), row.length) << row.name;
    }
    EXPECT_EQ(Sys::Utf8LengthAt("a\xC3\xA4", 1), 2U);
}

TEST(Utf8, CutsBetweenCharacters) {
    const struct {
        std::string_view text;
        std::size_t maxBytes;
        std::string_view expected;
    } rows[] = {
        {"abc", 3, "abc"},
        {"abc", 2, "ab"},
        {"a\xC3\xA4", 3, "a\xC3\xA4"},
        {"a\xC3\xA4", 2, "a"},
        {"\xF0\x9F\x98\x80", 3, ""},
        {"a\xF0\x9F\x98\x80z", 4, "a"},
        {"a\xF0\x9F\x98\x80z", 5, "a\xF0\x9F\x98\x80"},
        {"\x80\x80\x80\x80\x80\x80", 5, "\x80\x80"},  // not UTF-8: no more than a character is lost
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Sys::CutUtf8(row.text, row.maxBytes), row.expected)
            << '"' << row.text << "\" to " << row.maxBytes;
    }
}

}  // namespace
