// Bodies that are accepted, refused and beyond a bound as tables, each fed at once and byte by
// byte: the result, the data and the bytes taken must not depend on how the bytes arrive.
#include "platform/http1/chunked_decoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Http1::ChunkScan;
using std::string_literals::operator""s;

constexpr std::size_t kMaxBody = 100;

struct Outcome {
    ChunkScan scan = ChunkScan::Incomplete;
    std::string body;
    std::size_t taken = 0;

    bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* stream) {
    *stream << "result " << static_cast<int>(outcome.scan) << ", " << outcome.taken
            << " bytes taken, data \"" << outcome.body << '"';
}

// Goes on feeding after a final result, which must change nothing.
Outcome Feed(std::string_view bytes, std::size_t pieceLength) {
    Http1::ChunkedDecoder decoder(kMaxBody);
    Outcome outcome;
    for (std::size_t start = 0; start < bytes.size(); start += pieceLength) {
        std::string_view piece = bytes.substr(start, pieceLength);
        const std::size_t length = piece.size();
        outcome.scan = decoder.Decode(piece, outcome.body);
        outcome.taken += length - piece.size();
    }
    return outcome;
}

// Of both ways to feed.
Outcome Decode(std::string_view bytes) {
    Outcome atOnce = Feed(bytes, std::max<std::size_t>(bytes.size(), 1));
    EXPECT_EQ(Feed(bytes, 1), atOnce);
    return atOnce;
}

std::string Repeat(std::string_view text, std::size_t count) {
    std::string result;
    for (std::size_t i = 0; i < count; ++i) result += text;
    return result;
}

TEST(ChunkedDecoder, DecodesBodiesAndLeavesTheNextRequest) {
    struct Row {
        const char* name;
        std::string bytes;
        std::string body;
    };
    const std::vector<Row> rows = {
        {"no data", "0\r\n\r\n", ""},
        {"one chunk", "5\r\nhello\r\n0\r\n\r\n", "hello"},
        {"digits in both cases", "b\r\n01234567890\r\nB\r\n01234567890\r\n0\r\n\r\n",
         "0123456789001234567890"},
        {"data of line ends and NUL", "7\r\n\r\n0\r\n\r\n\r\n1\r\n\0\r\n0\r\n\r\n"s,
         "\r\n0\r\n\r\n\0"s},
        {"as much as allowed",
         "40\r\n" + Repeat("a", 64) + "\r\n24\r\n" + Repeat("b", 36) + "\r\n0\r\n\r\n",
         Repeat("a", 64) + Repeat("b", 36)},
        {"extensions", "1;a\r\nx\r\n1;a=b;c\r\ny\r\n0;d=\"e\"\r\n\r\n", "xy"},
        {"blanks in extensions", "1 \t;\ta\t= b ; c ;d = \"e\" ;f\r\nx\r\n0 ;g\r\n\r\n", "x"},
        {"quoted values", "1;a=\"\";b=\"\\\"\\\\;\x80 \t\\ \"\r\nx\r\n0\r\n\r\n", "x"},
        {"trailer section", "0\r\na: b\r\nc:\r\nd:\te f \x80\r\n\r\n", ""},
        {"extensions as long as allowed",
         "1;" + Repeat("a", Http1::kMaxChunkExtensionBytes - 1) + "\r\nx\r\n0\r\n\r\n", "x"},
        {"trailer section as long as allowed",
         "0\r\na:" + Repeat("b", Http1::kMaxTrailerBytes - 6) + "\r\n\r\n", ""},
        {"as many trailer fields as allowed",
         "0\r\n" + Repeat("a:\r\n", Http1::kMaxTrailerFields) + "\r\n", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Decode(row.bytes + "\r\nGET "),
                  (Outcome{ChunkScan::Complete, row.body, row.bytes.size()}));
        const Outcome cut = Decode(row.bytes.substr(0, row.bytes.size() - 1));
        EXPECT_EQ(cut, (Outcome{ChunkScan::Incomplete, row.body, row.bytes.size() - 1}));
    }
}

TEST(ChunkedDecoder, RefusesTheFirstInvalidByte) {
    struct Row {
        const char* name;
        std::string good;  // up to the byte that is refused
        char bad;
    };
    const std::vector<Row> rows = {
        {"no size", "", '\r'},
        {"only an extension", "", ';'},
        {"empty line before the size", "1\r\na\r\n", '\r'},
        {"plus sign", "", '+'},
        {"no hexadecimal digit", "1", 'g'},
        {"byte over 0x7F after the size", "1", '\xB2'},
        {"blank before the line's end", "1 ", '\r'},
        {"bare LF after the size", "1", '\n'},
        {"bare CR after the size", "1\r", 'a'},
        {"2^63", "8000000000000000\r", '\n'},
        {"2^64", "1000000000000000", '0'},
        {"a zero too many", Repeat("0", Http1::kMaxChunkSizeDigits), '1'},
        {"extension without a name", "1;", '\r'},
        {"bare LF after an extension", "1;a", '\n'},
        {"name of two words", "1;a ", 'b'},
        {"no value", "1;a=", '\r'},
        {"value that is no token", "1;a=b", '['},
        {"control inside quotes", "1;a=\"", '\x7F'},
        {"quoted line end", "1;a=\"\\", '\r'},
        {"bytes after the quotes", "1;a=\"b\"", 'c'},
        {"more data than announced", "1\r\na", 'b'},
        {"bare CR after the data", "1\r\na\r", '0'},
        {"next request after the last chunk", "0\r\nGET", ' '},
        {"bare CR as last line", "0\r\n\r", 'a'},
        {"trailer field without a name", "0\r\n", ':'},
        {"folded trailer line", "0\r\na: b\r\n", ' '},
        {"bare LF in the trailer section", "0\r\na: b", '\n'},
        {"bare CR in the trailer section", "0\r\na: b\r", 'c'},
        {"extension too long", "1;" + Repeat("a", Http1::kMaxChunkExtensionBytes - 1), 'a'},
        {"extensions too long together",
         "1;" + Repeat("a", Http1::kMaxChunkExtensionBytes - 4) + "\r\nx\r\n1;b=", 'c'},
        {"trailer section too long",
         "0\r\na:" + Repeat("b", Http1::kMaxTrailerBytes - 5) + "\r\n\r", '\n'},
        {"a trailer field too many", "0\r\n" + Repeat("a:\r\n", Http1::kMaxTrailerFields), 'a'},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Decode(row.good).scan, ChunkScan::Incomplete);
        const Outcome outcome = Decode(row.good + row.bad + "\r\n\r\n");
        EXPECT_EQ(outcome.scan, ChunkScan::Malformed);
        EXPECT_EQ(outcome.taken, row.good.size() + 1);
    }
}

TEST(ChunkedDecoder, RefusesMoreDataThanAllowedBeforeItArrives) {
    const std::string full = "64\r\n" + Repeat("a", kMaxBody) + "\r\n";
    for (const std::string& bytes :
         {"65\r\n"s, "7FFFFFFFFFFFFFFF;a\r\n"s, full + "1\r\n", full + "7fffffffffffffff\r\n"}) {
        SCOPED_TRACE(bytes);
        const Outcome outcome = Decode(bytes + "b\r\n");
        EXPECT_EQ(outcome.scan, ChunkScan::TooLong);
        EXPECT_EQ(outcome.taken, bytes.size());
    }
}

}  // namespace
