#include "platform/json/json_scanner.h"

#include "platform/json/json_tokens.h"
#include "platform/sys/utf8.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Json {

namespace {

// What the grammar allows at the next byte that is not a blank.
enum class Expect { Object, Value, ValueOrEnd, Name, NameOrEnd, Colon, CommaOrEnd, EndOfText };

class Scanner {
  public:
    Scanner(std::string_view text, Comments comments, Root root)
        : text(text),
          comments(comments),
          expect(root == Root::Object ? Expect::Object : Expect::Value) {}

    std::optional<Fault> Run() {
        if (const std::size_t nul = text.find('\0'); nul != std::string_view::npos) {
            return Fault{nul, "a NUL byte", "the text must be JSON in UTF-8"};
        }
        SkipByteOrderMark();
        while (SkipBlanks()) {
            if (offset == text.size()) {
                if (expect != Expect::EndOfText) {
                    Refuse(offset, "the text ends where " + Wanted() + " is expected");
                }
                break;
            }
            if (!Step()) {
                break;
            }
        }
        return fault;
    }

    // Whether Run stopped because of the nesting.
    bool IsTooDeep() const { return isTooDeep; }

  private:
    void SkipByteOrderMark() {
        constexpr std::string_view kMark = "\xEF\xBB\xBF";
        if (text.substr(0, kMark.size()) == kMark) {
            offset = kMark.size();
        }
    }

    bool SkipBlanks() {
        for (;;) {
            offset = std::min(text.find_first_not_of(" \t\n\r", offset), text.size());
            if (offset == text.size() || text[offset] != '/') {
                return true;
            }
            if (!SkipComment()) {
                return false;
            }
        }
    }

    bool SkipComment() {
        if (comments == Comments::Refused) {
            return Refuse(offset, "comments are not allowed here");
        }
        const std::string_view opening = text.substr(offset, 2);
        if (opening == "//") {
            offset = std::min(text.find_first_of("\n\r", offset), text.size());
            return true;
        }
        if (opening != "/*") {
            return Refuse(offset, "expected '//' or '/*' where '/' stands alone");
        }
        const std::size_t closing = text.find("*/", offset + 2);
        if (closing == std::string_view::npos) {
            return Refuse(offset, "this comment is never closed with '*/'");
        }
        offset = closing + 2;
        return true;
    }

    bool Step() {
        const char byte = text[offset];
        switch (expect) {
            case Expect::Object:
                return byte == '{' ? Open(byte) : RefuseUnexpected();
            case Expect::Value:
                return TakeValue();
            case Expect::ValueOrEnd:
                return byte == ']' ? Close() : TakeValue();
            case Expect::Name:
                return TakeName();
            case Expect::NameOrEnd:
                return byte == '}' ? Close() : TakeName();
            case Expect::Colon:
                return byte == ':' ? Advance(Expect::Value) : RefuseUnexpected();
            case Expect::CommaOrEnd:
                return TakeCommaOrEnd();
            case Expect::EndOfText:
                break;
        }
        return RefuseUnexpected();
    }

    bool TakeValue() {
        const char byte = text[offset];
        if (byte == '{' || byte == '[') {
            return Open(byte);
        }
        std::optional<Fault> problem;
        if (byte == '"') {
            problem = TakeString(text, offset);
        } else if (byte == '-' || IsDigit(byte)) {
            problem = TakeNumber(text, offset);
        } else if (!TakeLiteral(text, offset)) {
            return RefuseUnexpected();
        }
        expect = AfterValue();
        return Accept(std::move(problem));
    }

    bool TakeName() {
        if (text[offset] != '"') {
            return RefuseUnexpected();
        }
        expect = Expect::Colon;
        return Accept(TakeString(text, offset));
    }

    bool TakeCommaOrEnd() {
        if (text[offset] == ',') {
            return Advance(Closing() == '}' ? Expect::Name : Expect::Value);
        }
        return text[offset] == Closing() ? Close() : RefuseUnexpected();
    }

    bool Open(char opening) {
        if (depth == kMaxDepth) {
            isTooDeep = true;
            return Refuse(offset, "nested deeper than " + std::to_string(kMaxDepth) + " levels");
        }
        closings[depth++] = opening == '{' ? '}' : ']';
        return Advance(opening == '{' ? Expect::NameOrEnd : Expect::ValueOrEnd);
    }

    bool Close() {
        --depth;
        return Advance(AfterValue());
    }

    bool Advance(Expect next) {
        ++offset;
        expect = next;
        return true;
    }

    Expect AfterValue() const { return depth == 0 ? Expect::EndOfText : Expect::CommaOrEnd; }

    // The character that closes the innermost container. Call it only inside one.
    char Closing() const { return closings[depth - 1]; }

    std::string Wanted() const {
        switch (expect) {
            case Expect::Object:
                return "an object, '{'";
            case Expect::Value:
                return "a value";
            case Expect::ValueOrEnd:
                return "a value or ']'";
            case Expect::Name:
                return "a member name in double quotes";
            case Expect::NameOrEnd:
                return "a member name in double quotes or '}'";
            case Expect::Colon:
                return "':'";
            case Expect::CommaOrEnd:
                return std::string("',' or '") + Closing() + '\'';
            case Expect::EndOfText:
                break;
        }
        return "the end of the text";
    }

    bool RefuseUnexpected() {
        const bool endsAfterComma =
            (expect == Expect::Name && text[offset] == '}') ||
            (expect == Expect::Value && depth > 0 && Closing() == ']' && text[offset] == ']');
        return Refuse(offset, "expected " + Wanted() + ", found " + DescribeToken(text, offset),
                      endsAfterComma ? "remove the comma before it" : "");
    }

    bool Accept(std::optional<Fault> problem) {
        fault = std::move(problem);
        return !fault;
    }

    bool Refuse(std::size_t where, std::string reason, const char* advice = "") {
        fault = Fault{where, std::move(reason), advice};
        return false;
    }

    const std::string_view text;
    const Comments comments;
    Expect expect;
    std::size_t offset = 0;
    std::size_t depth = 0;
    bool isTooDeep = false;
    std::array<char, kMaxDepth> closings{};
    std::optional<Fault> fault;
};

}  // namespace

std::optional<Fault> FindFault(std::string_view text, Comments comments, Root root) {
    return Scanner(text, comments, root).Run();
}

JsonError Locate(std::string_view text, Fault fault) {
    const std::string_view before = text.substr(0, fault.offset);
    const std::size_t lineStart = before.rfind('\n') + 1;  // npos + 1 is 0: the first line
    const std::string_view line = before.substr(lineStart);
    const auto lines = std::count(before.begin(), before.end(), '\n');
    const auto continuations = std::count_if(line.begin(), line.end(), Sys::IsUtf8Continuation);
    return {static_cast<std::size_t>(lines) + 1,
            line.size() - static_cast<std::size_t>(continuations) + 1, std::move(fault.reason),
            std::move(fault.advice)};
}

std::optional<std::size_t> FindExcessDepth(std::string_view text) {
    const auto isOpening = [](char byte) { return byte == '[' || byte == '{'; };
    if (std::count_if(text.begin(), text.end(), isOpening) <=
        static_cast<std::ptrdiff_t>(kMaxDepth)) {
        return std::nullopt;
    }
    Scanner scanner(text.substr(0, text.find('\0')), Comments::Refused, Root::AnyValue);
    const std::optional<Fault> fault = scanner.Run();
    return scanner.IsTooDeep() ? std::optional(fault->offset) : std::nullopt;
}

}  // namespace Json
