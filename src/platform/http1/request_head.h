// The wire grammar of an HTTP/1.1 request head (RFC 9112 sections 2 to 5): where it ends in bytes
// that arrive piece by piece, its request line and its fields. Grammar only: limits on size and
// time, methods, required fields and the answers to what is refused are left to the servers that
// use it.
//
//   [CRLF]  method SP target SP "HTTP/1." ("0" / "1") CRLF  *( name ":" OWS value OWS CRLF )  CRLF
//
// Nothing here allocates, throws or depends on a locale.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace Http1 {

// A head of more fields does not parse.
inline constexpr std::size_t kMaxHeaderFields = 100;

enum class HeadScan { Incomplete, Complete, Malformed };

// Looks for the end of a head in bytes that arrive piece by piece, reading each byte once. Refuses
// what no head can hold as soon as it is seen, so that another protocol's bytes are not waited for:
// controls other than HT and CRLF (a bare CR or LF and DEL too), and more than one empty line
// before the request line (one is skipped, RFC 9112 section 2.2). What the lines say is left to
// RequestHead. One thread at a time.
class HeadScanner {
  public:
    // `buffer` is everything received since the head's first byte; what an earlier call was given
    // is its prefix, at the same or another address. Bytes after the head are not looked at.
    // Complete and Malformed are final until Reset.
    HeadScan Scan(std::string_view buffer);

    // Bytes of the complete head with its closing empty line and a skipped leading one, else 0.
    std::size_t HeadLength() const;

    // Forgets everything: the next buffer begins with a new head.
    void Reset();

  private:
    enum class Seen { Nothing, LeadingEmptyLine, RequestLine };

    HeadScan EndLine();

    HeadScan result = HeadScan::Incomplete;
    Seen seen = Seen::Nothing;
    bool lineHasBytes = false;
    bool afterCarriageReturn = false;
    std::size_t position = 0;
};

// `name` as sent; `value` without the blanks around it, empty when nothing else was sent.
struct HeaderField {
    std::string_view name;
    std::string_view value;
};

// A parsed head. The views point into the bytes given to Parse and are valid as long as these.
// About 3 KiB, held in place: a connection needs one only while it handles a request.
class RequestHead {
  public:
    // `head` is one whole head as measured by HeadScanner, though any bytes are safe. False, with
    // this object left empty, when they are anything else than the grammar above: a version other
    // than HTTP/1.0 and HTTP/1.1, white space around a name, a folded line (obs-fold), over
    // kMaxHeaderFields, bytes after the end.
    bool Parse(std::string_view head);

    // As sent: a token (RFC 9110 section 5.6.2), whose case matters.
    std::string_view Method() const;

    // As sent: any bytes but blanks and controls, at least one.
    std::string_view Target() const;

    // The target without its query (cut at the first '?') and, in the absolute form (RFC 9112
    // section 3.2.2), without scheme and authority, so it may be empty. Not percent-decoded. "*"
    // and an authority stay as sent.
    std::string_view Path() const;

    // 0 or 1, of HTTP/1.x.
    int MinorVersion() const;

    // The fields in the order sent.
    const HeaderField* begin() const;
    const HeaderField* end() const;

    // The value of the first field of that name (compared without case); nothing when there is
    // none.
    std::optional<std::string_view> Find(std::string_view name) const;

    // How many fields have that name (compared without case).
    std::size_t Count(std::string_view name) const;

  private:
    bool ParseRequestLine(std::string_view& rest);
    bool ParseFieldLine(std::string_view& rest);

    std::string_view method;
    std::string_view target;
    std::string_view path;
    int minorVersion = 0;
    std::size_t fieldCount = 0;
    std::array<HeaderField, kMaxHeaderFields> fields;
};

enum class LengthKind {
    Absent,        // no such field
    Known,         // at most 2^63-1
    Beyond63Bits,  // a plain decimal number over 2^63-1
    Ambiguous,     // differing numbers
    Invalid        // something that is not a plain decimal number
};

struct ContentLength {
    LengthKind kind = LengthKind::Absent;
    // Bytes when Known, 2^63-1 when Beyond63Bits, else 0.
    std::uint64_t value = 0;
    // With Beyond63Bits: the number is over 2^64-1, too.
    bool beyond64Bits = false;
};

// What all Content-Length fields say together (RFC 9110 section 8.6): equal numbers, as fields or
// as members of a list, count once; leading zeros don't matter; one invalid member makes the whole
// Invalid.
ContentLength ReadContentLength(const RequestHead& head);

// Whether `token` is a member of the comma-separated list that the fields called `name` form
// together, such as Connection, Transfer-Encoding or Expect. Compared without case and as a whole:
// a member with parameters is a different one. Commas inside a quoted string (RFC 9110
// section 5.6.4) separate nothing.
bool ListHasToken(const RequestHead& head, std::string_view name, std::string_view token);

// Whether the connection may serve another request after this one (RFC 9112 section 9.3): HTTP/1.1
// unless it says "close", HTTP/1.0 when it says "keep-alive" and does not say "close".
bool KeepsConnection(const RequestHead& head);

// ASCII letters match in either case, every other byte only itself.
bool EqualsIgnoringCase(std::string_view a, std::string_view b);

}  // namespace Http1
