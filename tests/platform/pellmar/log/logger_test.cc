// Message texts: placeholders, escaping, levels and names.
#include "platform/pellmar/log/logger.h"

#include "support/captured_log.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace Pellmar::Service {
namespace {

using Test::CapturedLog;
using testing::ElementsAre;
using testing::IsEmpty;

// Made before main, as loggers that are statics are.
const Ref<Logger> kEarlyLogger = Logger::CreateLogger(Logger::sDefaultLogger, "early");

std::string MessageOf(std::string_view format, const std::vector<LogArgument>& arguments) {
    const CapturedLog log;
    WriteMessage(*Logger::sDefaultLogger, 5, kNoFields, format, arguments);
    const std::vector<std::string> lines = log.Lines();
    return lines.size() == 1 ? lines.front() : "not one line";
}

TEST(Logger, FillsPlaceholdersInOnePass) {
    const struct {
        const char* name;
        std::string_view format;
        std::vector<LogArgument> arguments;
        std::string message;
    } rows[] = {
        {"no arguments", "plain %1 and %", {}, "plain %1 and %"},
        {"twice", "%1 and %1", {"a"}, "a and a"},
        {"never used", "only %1", {"a", "b"}, "only a"},
        {"placeholder in an argument", "%1 %2", {"%2", "b"}, "%2 b"},
        {"no such argument", "%1 %2 %5 %0", {"a"}, "a %2 %5 %0"},
        {"sign before a placeholder", "%%1", {"a"}, "%a"},
        {"signs that are none", "100% %% %d %1%", {"a"}, "100% %% %d a%"},
        {"signed",
         "%1 %2",
         {std::int64_t{-7}, std::numeric_limits<std::int64_t>::min()},
         "-7 -9223372036854775808"},
        {"unsigned", "%1", {std::numeric_limits<std::uint64_t>::max()}, "18446744073709551615"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(MessageOf(row.format, row.arguments), "5 sentrel: " + row.message);
    }
}

TEST(Logger, EscapesWhatIsNotPrintableInArguments) {
    using namespace std::string_view_literals;
    const struct {
        const char* name;
        std::string_view argument;
        std::string_view written;
    } rows[] = {
        {"line feed", "a\nb"sv, "a\\x0ab"sv},
        {"escape sequence", "\x1b[2J"sv, "\\x1b[2J"sv},
        {"last control, blank, tilde, DEL", "\x1f ~\x7f"sv, "\\x1f ~\\x7f"sv},
        {"backslash stays", "\\x0a"sv, "\\x0a"sv},
        {"first and last C1 control", "\u0080\u009f"sv, "\\xc2\\x80\\xc2\\x9f"sv},
        {"first after the controls", "\u00a0"sv, "\u00a0"sv},
        {"letter mark", "\u061b\u061c\u061d"sv, "\u061b\\xd8\\x9c\u061d"sv},
        {"direction marks", "\u200d\u200e\u200f\u2010"sv,
         "\u200d\\xe2\\x80\\x8e\\xe2\\x80\\x8f\u2010"sv},
        {"line separator", "\u2027\u2028"sv, "\u2027\\xe2\\x80\\xa8"sv},
        {"override", "\u202e\u202f"sv, "\\xe2\\x80\\xae\u202f"sv},
        {"isolates", "\u2065\u2066\u2069\u206a"sv, "\u2065\\xe2\\x81\\xa6\\xe2\\x81\\xa9\u206a"sv},
        {"lone continuation", "\x80z"sv, "\\x80z"sv},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(MessageOf("<%1>", {row.argument}),
                  "5 sentrel: <" + std::string(row.written) + ">");
    }
}

TEST(Logger, CutsLongArgumentsBelowTracing) {
    const CapturedLog log;
    const std::string whole = std::string(1023, 'x') + "\u00e4y";
    LogInternal(kEarlyLogger, 6, "<%1> <%2>", whole, "z");
    LogInternal(kEarlyLogger, 7, "<%1>", whole);
    EXPECT_THAT(log.Lines(), ElementsAre("6 early: <" + std::string(1023, 'x') + "> <z>",
                                         "7 early: <" + whole + ">"));
}

// An argument that counts how often it is looked at.
struct CountedText {
    int& uses;
    operator std::string_view() const {
        ++uses;
        return "text";
    }
};

TEST(Logger, FormatsNothingBelowItsLevel) {
    const CapturedLog log;
    Logger::sDefaultLogger->SetLevel(5);
    int uses = 0;
    LogInternal(kEarlyLogger, 6, "%1", CountedText{uses});
    EXPECT_THAT(log.Lines(), IsEmpty());
    EXPECT_EQ(uses, 0);
    LogInternal(kEarlyLogger, 5, "%1", CountedText{uses});
    EXPECT_THAT(log.Lines(), ElementsAre("5 early: text"));
}

}  // namespace
}  // namespace Pellmar::Service
