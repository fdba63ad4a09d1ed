#include "ctl/show/table.h"

#include "ctl/show/printable.h"
#include "ctl/show/wrap.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Test {
namespace {

TEST(Table, AlignsCellsByCharactersAndKeepsNamesOnTheirLine) {
    Ctl::Table table({{"PID", Ctl::Table::Align::Right}, {"NAME"}, {"SIZE"}});
    table.Add({"7", "größe", "1"});
    table.Add({"12345", "a\n\x1b[2J\xff", ""});
    std::ostringstream text;
    table.Write(text);
    EXPECT_EQ(text.str(),
              "  PID  NAME     SIZE\n"
              "    7  größe    1\n"
              "12345  a\uFFFD\uFFFD[2J\uFFFD\n");
}

TEST(Wrapping, BreaksBetweenWordsAndKeepsTheIndent) {
    const struct {
        const char* text;
        std::size_t indent;
        const char* wrapped;
    } rows[] = {
        {"one two three", 0, "one two\nthree"},
        {"one two three", 4, "one\n    two\n    three"},
        {"größer als das", 0, "größer als\ndas"},
        {"longer-than-all x", 0, "longer-than-all\nx"},
        {"a\n\n  b cccc dddd\n", 0, "a\n\n  b cccc\n  dddd\n"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Ctl::Wrapped(row.text, row.indent, 10), row.wrapped) << row.text;
    }
}

TEST(Printable, RemovesCharactersThatMoveOrReorderText) {
    const struct {
        const char* text;
        const char* shown;
        const char* inJson;
    } rows[] = {
        {"größe \u20ac \U0001F600", "größe \u20ac \U0001F600", "größe \u20ac \U0001F600"},
        {"\x7f", "\uFFFD", "\\u007f"},
        {"\u009b2J", "\uFFFD2J", "\\u009b2J"},  // a C1 control
        {"\u202egnp", "\uFFFDgnp", "\\u202egnp"},
        {"a\u2028b\u2069", "a\uFFFDb\uFFFD", "a\\u2028b\\u2069"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Ctl::PrintableText(row.text), row.shown);
        EXPECT_EQ(Ctl::PrintableJson(row.text), row.inJson);
    }
}

}  // namespace
}  // namespace Test
