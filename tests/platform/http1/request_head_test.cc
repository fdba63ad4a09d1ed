// Heads that are accepted and refused, lengths, lists and paths as tables, and the scanner against
// itself: however the bytes are cut into pieces, it must come to the same end.
#include "platform/http1/request_head.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <string_view>
#include <utility>

namespace {

using std::string_literals::operator""s;

struct GoodHead {
    const char* name;
    std::string head;
    std::string parsed;  // as written by Describe
};

const GoodHead kGoodHeads[] = {
    {"no fields", "GET / HTTP/1.1\r\n\r\n", "GET / 1"},
    {"HTTP/1.0", "GET / HTTP/1.0\r\na: b\r\n\r\n", "GET / 0 <a=b>"},
    {"leading empty line", "\r\nGET / HTTP/1.1\r\n\r\n", "GET / 1"},
    {"every mark of a token", "!#$%&'*+-.^_`|~ / HTTP/1.1\r\n!#$%&'*+-.^_`|~09azAZ: x\r\n\r\n",
     "!#$%&'*+-.^_`|~ / 1 <!#$%&'*+-.^_`|~09azAZ=x>"},
    {"blanks around a value", "G / HTTP/1.1\r\na: \t b \t c\t \r\n\r\n", "G / 1 <a=b \t c>"},
    {"empty values", "G / HTTP/1.1\r\na:\r\nb: \t\r\n\r\n", "G / 1 <a=> <b=>"},
    {"bytes over 0x7F", "G /\x80\xFF HTTP/1.1\r\na: \x80\xFF\r\n\r\n",
     "G /\x80\xFF 1 <a=\x80\xFF>"},
    {"marks in a target", "G /\"<>\\^`{|}# HTTP/1.1\r\n\r\n", "G /\"<>\\^`{|}# 1"},
    {"repeated names", "G / HTTP/1.1\r\na: 1\r\nA: 2\r\n\r\n", "G / 1 <a=1> <A=2>"},
};

// "METHOD TARGET MINOR-VERSION <NAME=VALUE>...", separated by blanks.
std::string Describe(const Http1::RequestHead& head) {
    std::string text = std::string(head.Method()) + ' ' + std::string(head.Target()) + ' ' +
                       std::to_string(head.MinorVersion());
    for (const auto& [name, value] : head) {
        text.append(" <").append(name).append("=").append(value).append(">");
    }
    return text;
}

std::string HeadWithFields(std::size_t count) {
    std::string head = "G / HTTP/1.1\r\n";
    for (std::size_t i = 0; i < count; ++i) head += "n" + std::to_string(i) + ": v\r\n";
    return head + "\r\n";
}

struct MalformedHead {
    const char* name;
    std::string head;
    Http1::HeadScan scan;  // what the scanner alone says of it
};

using enum Http1::HeadScan;

const MalformedHead kMalformedHeads[] = {
    {"nothing", "", Incomplete},
    {"only an empty line", "\r\n", Incomplete},
    {"two leading empty lines", "\r\n\r\nG / HTTP/1.1\r\n\r\n", Malformed},
    {"no end", "G / HTTP/1.1\r\na: b\r\n", Incomplete},
    {"bytes after the end", "G / HTTP/1.1\r\n\r\nG", Complete},
    {"TLS hello", "\x16\x03\x01\x02\x00\x01\x00\x01\xFC\x03\x03"s, Malformed},
    {"bare LF after the request line", "G / HTTP/1.1\na: b\r\n\r\n", Malformed},
    {"bare LF first", "\nG / HTTP/1.1\r\n\r\n", Malformed},
    {"bare CR in a value", "G / HTTP/1.1\r\na: b\rc\r\n\r\n", Malformed},
    {"bare CR in the target", "G /\ra HTTP/1.1\r\n\r\n", Malformed},
    {"NUL in a value", "G / HTTP/1.1\r\na: b\0c\r\n\r\n"s, Malformed},
    {"DEL in a value", "G / HTTP/1.1\r\na: \x7F\r\n\r\n", Malformed},
    {"no method", " / HTTP/1.1\r\n\r\n", Complete},
    {"method is no token", "G(T) / HTTP/1.1\r\n\r\n", Complete},
    {"no target", "G HTTP/1.1\r\n\r\n", Complete},
    {"blank in the target", "G /a b HTTP/1.1\r\n\r\n", Complete},
    {"two blanks after the target", "G /  HTTP/1.1\r\n\r\n", Complete},
    {"no version", "G /\r\n\r\n", Complete},
    {"blank after the version", "G / HTTP/1.1 \r\n\r\n", Complete},
    {"HTTP/2.0", "PRI * HTTP/2.0\r\n\r\n", Complete},
    {"HTTP/1.", "G / HTTP/1.\r\n\r\n", Complete},
    {"another protocol's version", "G / RTSP/1.1\r\n\r\n", Complete},
    {"field line without a colon", "G / HTTP/1.1\r\nabc\r\n\r\n", Complete},
    {"empty name", "G / HTTP/1.1\r\n: b\r\n\r\n", Complete},
    {"blank before the colon", "G / HTTP/1.1\r\na : b\r\n\r\n", Complete},
    {"name is no token", "G / HTTP/1.1\r\na[1]: c\r\n\r\n", Complete},
    {"blank before the first field", "G / HTTP/1.1\r\n a: b\r\n\r\n", Complete},
    {"one field too many", HeadWithFields(Http1::kMaxHeaderFields + 1), Complete},
};

// The bytes of a head, which must parse, and what was parsed from them.
class Parsed {
  public:
    explicit Parsed(std::string head) : bytes(std::move(head)) { EXPECT_TRUE(result.Parse(bytes)); }
    Parsed(const Parsed&) = delete;
    Parsed& operator=(const Parsed&) = delete;

    const Http1::RequestHead& operator*() const { return result; }
    const Http1::RequestHead* operator->() const { return &result; }

  private:
    std::string bytes;
    Http1::RequestHead result;
};

std::string RequestWith(std::string_view fieldLines, char minorVersion = '1') {
    return "POST / HTTP/1."s + minorVersion + "\r\n" + std::string(fieldLines) + "\r\n";
}

TEST(RequestHead, ParsesGoodHeads) {
    for (const auto& row : kGoodHeads) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Describe(*Parsed(row.head)), row.parsed);
    }
}

TEST(RequestHead, RefusesMalformedHeadsAndIsThenEmpty) {
    const std::string good = "GET /x HTTP/1.1\r\na: b\r\n\r\n";
    for (const auto& row : kMalformedHeads) {
        SCOPED_TRACE(row.name);
        Http1::RequestHead head;
        ASSERT_TRUE(head.Parse(good));
        EXPECT_FALSE(head.Parse(row.head));
        EXPECT_EQ(Describe(head), "  0");
        EXPECT_EQ(head.Path(), "");
    }
}

TEST(RequestHead, AcceptsFieldsUpToTheLimit) {
    const Parsed head(HeadWithFields(Http1::kMaxHeaderFields));
    EXPECT_EQ(head->end() - head->begin(), std::ptrdiff_t{Http1::kMaxHeaderFields});
    EXPECT_EQ(std::prev(head->end())->name, "n99");
}

TEST(RequestHead, FindsFieldsWithoutCase) {
    const Parsed head(RequestWith("Aa: 1\r\nb: 2\r\naA: 3\r\nAaa: 4\r\nempty:\r\n"));
    EXPECT_EQ(head->Find("AA"), "1");
    EXPECT_EQ(head->Count("aa"), 2U);
    EXPECT_EQ(head->Find("empty"), "");
    EXPECT_EQ(head->Find("c"), std::nullopt);
    EXPECT_EQ(head->Count("c"), 0U);
}

TEST(RequestHead, ReducesTheTargetToItsPath) {
    constexpr std::pair<std::string_view, std::string_view> kRows[] = {
        {"/", "/"},
        {"/a?b", "/a"},
        {"/%2e%2F", "/%2e%2F"},
        {"http://host", ""},
        {"http://host:80/a/b?c", "/a/b"},
        {"HTTP://[::1]:80/a", "/a"},
        {"http://host?a", ""},
        {"x+y-z.1://host/a", "/a"},
        {"1http://host/a", "1http://host/a"},
        {"://host/a", "://host/a"},
        {"http:/host/a", "http:/host/a"},
        {"a?b=://host/c", "a"},
        {"*", "*"},
    };
    for (const auto& [target, path] : kRows) {
        SCOPED_TRACE(target);
        const Parsed head("G " + std::string(target) + " HTTP/1.1\r\n\r\n");
        EXPECT_EQ(head->Path(), path);
    }
}

TEST(RequestHead, CombinesContentLengths) {
    using enum Http1::LengthKind;
    constexpr std::uint64_t kMax = 0x7FFF'FFFF'FFFF'FFFF;
    struct Row {
        std::string_view fieldLines;
        Http1::LengthKind kind;
        std::uint64_t value = 0;
        bool beyond64Bits = false;
    };
    constexpr Row kRows[] = {
        {"", Absent},
        {"Content-Length: 5\r\n", Known, 5},
        {"Content-Length: 00000000000000000000000000000012\r\n", Known, 12},
        {"Content-Length: 5, 5\r\n", Known, 5},
        {"Content-Length: 5\t,5\r\nContent-Length: 05\r\n", Known, 5},
        {"Content-Length: 9223372036854775807\r\n", Known, kMax},
        {"Content-Length: 9223372036854775808\r\n", Beyond63Bits, kMax},
        {"Content-Length: 18446744073709551616\r\n", Beyond63Bits, kMax, true},
        {"Content-Length: 5, 6\r\n", Ambiguous},
        {"Content-Length: 5\r\nContent-Length: 6\r\n", Ambiguous},
        {"Content-Length: 18446744073709551616, 18446744073709551617\r\n", Ambiguous},
        {"Content-Length:\r\n", Invalid},
        {"Content-Length: +5\r\n", Invalid},
        {"Content-Length: 5 5\r\n", Invalid},
        {"Content-Length: 5,,5\r\n", Invalid},
        {"Content-Length: \xB2\r\n", Invalid},
        {"Content-Length: 5, 6\r\nContent-Length: x\r\n", Invalid},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.fieldLines);
        const Parsed head(RequestWith(row.fieldLines));
        const Http1::ContentLength length = Http1::ReadContentLength(*head);
        EXPECT_EQ(length.kind, row.kind);
        EXPECT_EQ(length.value, row.value);
        EXPECT_EQ(length.beyond64Bits, row.beyond64Bits);
    }
}

TEST(RequestHead, FindsTokensInLists) {
    constexpr std::pair<std::string_view, bool> kRows[] = {
        {"", false},
        {"Expect: chunked\r\n", false},
        {"TE: chunked\r\n", true},
        {"TE: ,, gzip ,\tchunked , x\r\n", true},
        {"TE: gzip\r\nTE: chunked\r\n", true},
        {"TE: chunked2, xchunked, chunk\r\n", false},
        {"TE: chunked;q=1\r\n", false},
        {"TE: chunked x\r\n", false},
        {"TE: a=\"x, chunked\"\r\n", false},
        {"TE: a=\"x\\\", chunked, y\"\r\n", false},
        {"TE: a=\"x\\\\\", chunked\r\n", true},
        {"TE: a=\"x, chunked\r\n", false},
    };
    for (const auto& [fieldLines, found] : kRows) {
        SCOPED_TRACE(fieldLines);
        const Parsed head(RequestWith(fieldLines));
        EXPECT_EQ(Http1::ListHasToken(*head, "TE", "chunked"), found);
    }
}

TEST(RequestHead, DeterminesWhetherTheConnectionIsKept) {
    struct Row {
        char minorVersion;
        std::string_view fieldLines;
        bool kept;
    };
    constexpr Row kRows[] = {
        {'1', "", true},
        {'1', "Connection: CLOSE\r\n", false},
        {'1', "Connection: upgrade\r\nConnection: x, close\r\n", false},
        {'0', "", false},
        {'0', "Connection: Keep-Alive\r\n", true},
        {'0', "Connection: keep-alive, close\r\n", false},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE("1."s + row.minorVersion + ' ' + std::string(row.fieldLines));
        const Parsed head(RequestWith(row.fieldLines, row.minorVersion));
        EXPECT_EQ(Http1::KeepsConnection(*head), row.kept);
    }
}

TEST(EqualsIgnoringCase, FoldsLettersAndNothingElse) {
    EXPECT_TRUE(Http1::EqualsIgnoringCase("aZ09-", "Az09-"));
    EXPECT_FALSE(Http1::EqualsIgnoringCase("a", "ab"));
    EXPECT_FALSE(Http1::EqualsIgnoringCase("@[`{", "`{@["));  // beside the letters, 0x20 apart
    EXPECT_FALSE(Http1::EqualsIgnoringCase("\xC4", "\xE4"));
}

TEST(HeadScanner, FindsTheEndOfHeadsAndLeavesTheRest) {
    for (const auto& row : kGoodHeads) {
        SCOPED_TRACE(row.name);
        Http1::HeadScanner scanner;
        EXPECT_EQ(scanner.Scan(row.head + "\r\n\x16\n"), Http1::HeadScan::Complete);
        EXPECT_EQ(scanner.HeadLength(), row.head.size());
    }
}

TEST(HeadScanner, RefusesInvalidBytesAtOnce) {
    for (const auto& row : kMalformedHeads) {
        SCOPED_TRACE(row.name);
        Http1::HeadScanner scanner;
        EXPECT_EQ(scanner.Scan(row.head), row.scan);
        EXPECT_EQ(scanner.HeadLength() != 0, row.scan == Http1::HeadScan::Complete);
    }
}

// Linear time however the bytes arrive: what was scanned once may turn into rubbish and nobody
// notices.
TEST(HeadScanner, ReadsNoByteTwice) {
    std::string buffer = "\r\nPOST /cpu HTTP/1.1\r\nHost: x\r\n\r\n";
    Http1::HeadScanner scanner;
    for (std::size_t size = 1; size < buffer.size(); ++size) {
        ASSERT_EQ(scanner.Scan({buffer.data(), size}), Http1::HeadScan::Incomplete);
        buffer[size - 1] = '\0';
    }
    EXPECT_EQ(scanner.Scan(buffer), Http1::HeadScan::Complete);
    EXPECT_EQ(scanner.HeadLength(), buffer.size());
}

}  // namespace
