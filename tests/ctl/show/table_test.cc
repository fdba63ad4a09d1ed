#include "ctl/show/table.h"

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
              "  PID  NAME              SIZE\n"
              "    7  größe             1\n"
              "12345  a\\x0a\\x1b[2J\\xff\n");
}

}  // namespace
}  // namespace Test
