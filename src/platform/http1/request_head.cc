// The scanner goes by lines; the parser takes runs of bytes off the front of the rest. Both use the
// table of byte classes.
#include "platform/http1/request_head.h"

#include "platform/http1/byte_classes.h"

#include <algorithm>
#include <limits>

namespace Http1 {
namespace {

constexpr std::array<char, 256> MakeLowerCase() {
    std::array<char, 256> lower{};
    for (unsigned byte = 0; byte < lower.size(); ++byte) {
        lower[byte] = static_cast<char>(IsUpper(byte) ? byte - 'A' + 'a' : byte);
    }
    return lower;
}

constexpr std::array<char, 256> kLowerCase = MakeLowerCase();

char ToLower(char byte) { return kLowerCase[static_cast<unsigned char>(byte)]; }

// The index, from `start` on, of the first byte outside the class; the text's size if there is
// none.
std::size_t EndOfRun(std::string_view text, std::size_t start, std::uint8_t byteClass) {
    std::size_t end = start;
    while (end < text.size() && IsOf(byteClass, text[end])) ++end;
    return end;
}

// Takes the longest run of bytes of the class off the front of `rest`; the run may be empty.
std::string_view TakeRun(std::string_view& rest, std::uint8_t byteClass) {
    const std::string_view run = rest.substr(0, EndOfRun(rest, 0, byteClass));
    rest.remove_prefix(run.size());
    return run;
}

// Takes exactly `text` off the front of `rest`, or nothing when `rest` starts with other bytes.
bool Take(std::string_view& rest, std::string_view text) {
    if (!rest.starts_with(text)) return false;
    rest.remove_prefix(text.size());
    return true;
}

std::string_view TrimBlanks(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

std::string_view ReduceToPath(std::string_view target) {
    const std::string_view plain = target.substr(0, target.find('?'));
    if (!IsAlpha(static_cast<unsigned char>(target.front()))) return plain;
    const std::size_t schemeLength = EndOfRun(plain, 0, kSchemeByte);
    std::string_view authorityAndPath = plain.substr(schemeLength);
    if (!Take(authorityAndPath, "://")) return plain;
    authorityAndPath.remove_prefix(std::min(authorityAndPath.find('/'), authorityAndPath.size()));
    return authorityAndPath;
}

// Takes the first member of a comma-separated list, and the comma after it, off the front.
std::string_view TakeListMember(std::string_view& list) {
    bool quoted = false;
    std::size_t end = 0;
    for (; end < list.size() && (quoted || list[end] != ','); ++end) {
        if (list[end] == '"') quoted = !quoted;
        if (quoted && list[end] == '\\') ++end;  // the next byte is quoted by itself
    }
    const std::string_view member = list.substr(0, end);
    list.remove_prefix(std::min(end + 1, list.size()));
    return TrimBlanks(member);
}

// The digits of a plain decimal number without leading zeros ("" for zero); nothing for other
// texts.
std::optional<std::string_view> SignificantDigits(std::string_view text) {
    const bool plain = !text.empty() && std::all_of(text.begin(), text.end(), [](char byte) {
        return IsDigit(static_cast<unsigned char>(byte));
    });
    if (!plain) return std::nullopt;
    text.remove_prefix(std::min(text.find_first_not_of('0'), text.size()));
    return text;
}

ContentLength ToContentLength(std::string_view digits) {
    constexpr std::uint64_t kMaxValue = std::numeric_limits<std::int64_t>::max();
    constexpr std::uint64_t kMax64Bits = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t value = 0;
    for (const char byte : digits) {
        const auto digit = static_cast<std::uint64_t>(byte - '0');
        if (value > (kMax64Bits - digit) / 10) return {LengthKind::Beyond63Bits, kMaxValue, true};
        value = value * 10 + digit;
    }
    if (value > kMaxValue) return {LengthKind::Beyond63Bits, kMaxValue, false};
    return {LengthKind::Known, value, false};
}

}  // namespace

HeadScan HeadScanner::Scan(std::string_view buffer) {
    while (result == HeadScan::Incomplete && position < buffer.size()) {
        if (afterCarriageReturn) {
            afterCarriageReturn = false;
            const bool isLineEnd = buffer[position] == '\n';
            ++position;
            result = isLineEnd ? EndLine() : HeadScan::Malformed;
        } else if (buffer[position] == '\r') {
            afterCarriageReturn = true;
            ++position;
        } else {
            const std::size_t lineStart = position;
            position = EndOfRun(buffer, position, kTextByte);
            if (position == lineStart) result = HeadScan::Malformed;
            lineHasBytes = true;
        }
    }
    return result;
}

HeadScan HeadScanner::EndLine() {
    if (lineHasBytes) {
        lineHasBytes = false;
        seen = Seen::RequestLine;
        return HeadScan::Incomplete;
    }
    if (seen == Seen::RequestLine) return HeadScan::Complete;
    if (seen == Seen::LeadingEmptyLine) return HeadScan::Malformed;
    seen = Seen::LeadingEmptyLine;
    return HeadScan::Incomplete;
}

std::size_t HeadScanner::HeadLength() const { return result == HeadScan::Complete ? position : 0; }

void HeadScanner::Reset() { *this = HeadScanner(); }

bool RequestHead::Parse(std::string_view head) {
    std::string_view rest = head;
    fieldCount = 0;
    (void)Take(rest, "\r\n");  // the leading empty line is optional
    bool good = ParseRequestLine(rest);
    while (good && !Take(rest, "\r\n")) good = ParseFieldLine(rest);
    if (good && rest.empty()) return true;
    method = target = path = {};
    minorVersion = 0;
    fieldCount = 0;
    return false;
}

bool RequestHead::ParseRequestLine(std::string_view& rest) {
    method = TakeRun(rest, kTokenByte);
    if (method.empty() || !Take(rest, " ")) return false;
    target = TakeRun(rest, kTargetByte);
    if (target.empty() || !Take(rest, " HTTP/1.")) return false;
    path = ReduceToPath(target);
    minorVersion = rest.starts_with('1') ? 1 : 0;
    return Take(rest, minorVersion == 1 ? "1\r\n" : "0\r\n");
}

bool RequestHead::ParseFieldLine(std::string_view& rest) {
    const std::string_view name = TakeRun(rest, kTokenByte);
    if (name.empty() || !Take(rest, ":") || fieldCount == fields.size()) return false;
    fields[fieldCount] = {name, TrimBlanks(TakeRun(rest, kTextByte))};
    ++fieldCount;
    return Take(rest, "\r\n");
}

std::string_view RequestHead::Method() const { return method; }

std::string_view RequestHead::Target() const { return target; }

std::string_view RequestHead::Path() const { return path; }

int RequestHead::MinorVersion() const { return minorVersion; }

const HeaderField* RequestHead::begin() const { return fields.data(); }

const HeaderField* RequestHead::end() const { return fields.data() + fieldCount; }

std::optional<std::string_view> RequestHead::Find(std::string_view name) const {
    for (const HeaderField& field : *this) {
        if (EqualsIgnoringCase(field.name, name)) return field.value;
    }
    return std::nullopt;
}

std::size_t RequestHead::Count(std::string_view name) const {
    const auto hasName = [name](const HeaderField& field) {
        return EqualsIgnoringCase(field.name, name);
    };
    return static_cast<std::size_t>(std::count_if(begin(), end(), hasName));
}

ContentLength ReadContentLength(const RequestHead& head) {
    std::optional<std::string_view> length;
    bool ambiguous = false;
    for (const HeaderField& field : head) {
        if (!EqualsIgnoringCase(field.name, "content-length")) continue;
        // Unlike in other lists, an empty member is an error, and so is one after a trailing comma.
        if (field.value.ends_with(',')) return {LengthKind::Invalid};
        std::string_view list = field.value;
        do {
            const auto digits = SignificantDigits(TakeListMember(list));
            if (!digits) return {LengthKind::Invalid};
            ambiguous = ambiguous || (length && *length != *digits);
            length = digits;
        } while (!list.empty());
    }
    if (!length) return {LengthKind::Absent};
    return ambiguous ? ContentLength{LengthKind::Ambiguous} : ToContentLength(*length);
}

bool ListHasToken(const RequestHead& head, std::string_view name, std::string_view token) {
    for (const HeaderField& field : head) {
        if (!EqualsIgnoringCase(field.name, name)) continue;
        std::string_view list = field.value;
        while (!list.empty()) {
            if (EqualsIgnoringCase(TakeListMember(list), token)) return true;
        }
    }
    return false;
}

bool KeepsConnection(const RequestHead& head) {
    if (ListHasToken(head, "connection", "close")) return false;
    return head.MinorVersion() == 1 || ListHasToken(head, "connection", "keep-alive");
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (ToLower(a[i]) != ToLower(b[i])) return false;
    }
    return true;
}

}  // namespace Http1
