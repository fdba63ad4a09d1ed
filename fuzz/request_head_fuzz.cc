// Scans a request head in pieces that the first byte chooses, parses it, and aborts when a
// guarantee is violated: the same end however the bytes are split, views inside the buffer, no
// control bytes, and the parser accepts only what the scanner accepts with the same length.
#include "checking.h"
#include "platform/http1/request_head.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string_view>

namespace {

// Scans `bytes` in pieces up to the scanner's verdict or the end of the bytes, and compares with
// scanning them at once.
Http1::HeadScanner ScanInPieces(std::string_view bytes, PieceLengths lengths) {
    Http1::HeadScanner inPieces;
    Http1::HeadScan result = Http1::HeadScan::Incomplete;
    for (std::size_t size = 0; size < bytes.size() && result == Http1::HeadScan::Incomplete;) {
        size = std::min(size + lengths.Next(), bytes.size());
        result = inPieces.Scan(bytes.substr(0, size));
    }
    Http1::HeadScanner atOnce;
    Check(atOnce.Scan(bytes) == result);
    Check(atOnce.HeadLength() == inPieces.HeadLength());
    Check((result == Http1::HeadScan::Complete) == (inPieces.HeadLength() != 0));
    Check(inPieces.HeadLength() <= bytes.size());
    return inPieces;
}

bool IsInside(std::string_view part, std::string_view whole) {
    const std::less_equal<const char*> notAfter;
    return part.empty() || (notAfter(whole.data(), part.data()) &&
                            notAfter(part.data() + part.size(), whole.data() + whole.size()));
}

bool IsBlank(char byte) { return byte == ' ' || byte == '\t'; }

bool IsControl(char byte) {
    const auto code = static_cast<unsigned char>(byte);
    return code < 0x20 || code == 0x7F;
}

void CheckWord(std::string_view word, std::string_view whole) {
    Check(!word.empty() && IsInside(word, whole));
    Check(
        std::none_of(word.begin(), word.end(), [](char b) { return IsControl(b) || IsBlank(b); }));
}

void CheckField(const Http1::HeaderField& field, std::string_view whole) {
    CheckWord(field.name, whole);
    Check(field.name.find(':') == std::string_view::npos);
    const std::string_view value = field.value;
    Check(IsInside(value, whole));
    Check(
        std::none_of(value.begin(), value.end(), [](char b) { return IsControl(b) && b != '\t'; }));
    Check(value.empty() || (!IsBlank(value.front()) && !IsBlank(value.back())));
}

void CheckParsed(const Http1::RequestHead& head, std::string_view whole) {
    CheckWord(head.Method(), whole);
    CheckWord(head.Target(), whole);
    Check(IsInside(head.Path(), head.Target()));
    Check(head.Path().find('?') == std::string_view::npos);
    Check(head.MinorVersion() == 0 || head.MinorVersion() == 1);
    Check(head.end() - head.begin() <= std::ptrdiff_t{Http1::kMaxHeaderFields});
    for (const Http1::HeaderField& field : head) {
        CheckField(field, whole);
        Check(head.Count(field.name) >= 1 && head.Find(field.name).has_value());
    }
    Check(!Http1::KeepsConnection(head) || !Http1::ListHasToken(head, "CONNECTION", "Close"));
    Check(!Http1::ListHasToken(head, "Transfer-Encoding", "chunked") ||
          head.Count("transfer-encoding") != 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const Http1::HeadScanner scanner = ScanInPieces(bytes, PieceLengths(data[0]));

    Http1::RequestHead head;
    const std::string_view measured = bytes.substr(0, scanner.HeadLength());
    if (head.Parse(measured)) {
        CheckParsed(head, measured);
    } else {
        Check(head.begin() == head.end() && head.Method().empty() && head.Path().empty());
    }
    // Unmeasured bytes: accepted only if the scanner measures exactly these.
    if (head.Parse(bytes)) Check(scanner.HeadLength() == bytes.size());
    return 0;
}
