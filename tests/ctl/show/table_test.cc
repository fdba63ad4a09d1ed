#include "ctl/show/table.h"

#include "ctl/show/printable.h"

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

TEST(Printable, LeavesNothingThatMovesOrReordersText) {
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
