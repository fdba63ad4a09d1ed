// Parses the head of an HTTP/1.1 request (RFC 9112 sections 2 to 5): finds its end in bytes that
// arrive piece by piece, and reads its request line and fields. Only the grammar is here: the
// servers that use it decide on limits, methods, required fields and the answers to a refused head.
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

// A head with more fields fails to parse.
inline constexpr std::size_t kMaxHeaderFields = 100;

enum class HeadScan { Incomplete, Complete, Malformed };

// Looks for the end of a head in bytes that arrive piece by piece, reading each byte once. Refuses
// bytes that no head contains as soon as it sees them, so a server never waits for the rest of
// another protocol's message: controls other than HT and CRLF (including a bare CR, a bare LF and
// DEL), and a second empty line before the request line (the first is skipped, RFC 9112 section
// 2.2). RequestHead parses the lines. One thread at a time.
class HeadScanner {
  public:
    // `buffer` is everything received since the head's first byte; it starts with the bytes of the
    // previous call, though perhaps at another address. Bytes after the head are ignored. Complete
    // and Malformed are final until Reset.
    HeadScan Scan(std::string_view buffer);

    // The length in bytes of the complete head, including its closing empty line and a skipped
    // leading one; 0 while it is incomplete.
    std::size_t HeadLength() const;

    // Starts over: the next buffer begins with a new head.
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

// `name` as sent; `value` without surrounding blanks, possibly empty.
struct HeaderField {
    std::string_view name;
    std::string_view value;
};

// A parsed head. Its views point into the bytes given to Parse and are valid as long as those.
// Takes about 3 KiB; a connection needs one only while it handles a request.
class RequestHead {
  public:
    // Parses `head`, one whole head as HeadScanner measured it, though any bytes are safe. Returns
    // false and leaves this object empty when the bytes violate the grammar above: a version other
    // than HTTP/1.0 and HTTP/1.1, white space around a name, a folded line (obs-fold), more than
    // kMaxHeaderFields fields, bytes after the end.
    bool Parse(std::string_view head);

    // As sent: a token (RFC 9110 section 5.6.2), whose case matters.
    std::string_view Method() const;

    // As sent: any bytes but blanks and controls, at least one.
    std::string_view Target() const;

    // The target without its query (cut at the first '?') and, in the absolute form (RFC 9112
    // section 3.2.2), without scheme and authority, so possibly empty. Not percent-decoded. "*" and
    // an authority stay as sent.
    std::string_view Path() const;

    // The minor version, 0 or 1, of HTTP/1.x.
    int MinorVersion() const;

    // The fields in the order sent.
    const HeaderField* begin() const;
    const HeaderField* end() const;

    // The value of the first field with that name (case ignored), if any.
    std::optional<std::string_view> Find(std::string_view name) const;

    // How many fields have that name (case ignored).
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
    Invalid        // not a plain decimal number
};

struct ContentLength {
    LengthKind kind = LengthKind::Absent;
    // Bytes when Known, 2^63-1 when Beyond63Bits, else 0.
    std::uint64_t value = 0;
    // With Beyond63Bits: whether the number exceeds 2^64-1 too.
    bool beyond64Bits = false;
};

// Combines all Content-Length fields (RFC 9110 section 8.6): equal numbers, in separate fields or
// in one list, count once; leading zeros are ignored; one invalid member makes the whole Invalid.
ContentLength ReadContentLength(const RequestHead& head);

// Whether `token` is a member of the comma-separated list that all fields named `name` form
// together, such as Connection, Transfer-Encoding or Expect. Case is ignored, and only whole
// members match, so one with parameters does not. Commas inside a quoted string (RFC 9110 section
// 5.6.4) don't separate members.
bool ListHasToken(const RequestHead& head, std::string_view name, std::string_view token);

// Whether the connection may serve another request after this one (RFC 9112 section 9.3): for
// HTTP/1.1 unless it says "close", for HTTP/1.0 if it says "keep-alive" and not "close".
bool KeepsConnection(const RequestHead& head);

// Compares byte by byte, ignoring the case of ASCII letters only.
bool EqualsIgnoringCase(std::string_view a, std::string_view b);

}  // namespace Http1
