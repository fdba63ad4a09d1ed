#include "platform/json/object_members.h"

#include "platform/json/json_tokens.h"

#include <algorithm>

namespace Json {

namespace {

constexpr std::string_view kBlanks = " \t\n\r";

void AppendUtf8(unsigned codePoint, std::string& text) {
    const auto append = [&text](unsigned byte) { text += static_cast<char>(byte); };
    if (codePoint < 0x80) {
        append(codePoint);
        return;
    }
    if (codePoint < 0x800) {
        append(0xC0U | codePoint >> 6U);
    } else {
        if (codePoint < 0x10000) {
            append(0xE0U | codePoint >> 12U);
        } else {
            append(0xF0U | codePoint >> 18U);
            append(0x80U | (codePoint >> 12U & 0x3FU));
        }
        append(0x80U | (codePoint >> 6U & 0x3FU));
    }
    append(0x80U | (codePoint & 0x3FU));
}

// `offset` is that of "\u"; a surrogate pair takes two escapes.
void AppendUnicodeEscape(std::string_view quoted, std::size_t& offset, std::string& text) {
    constexpr std::size_t kLength = 6;
    unsigned codePoint = CodeUnitAt(quoted, offset).value_or(0);
    offset += kLength;
    if (codePoint >= 0xD800 && codePoint <= 0xDBFF) {
        const unsigned low = CodeUnitAt(quoted, offset).value_or(0);
        codePoint = 0x10000 + ((codePoint - 0xD800) << 10U) + (low - 0xDC00);
        offset += kLength;
    }
    AppendUtf8(codePoint, text);
}

}  // namespace

std::string Unescape(std::string_view quoted) {
    constexpr std::string_view kLetters = "\"\\/bfnrt";
    constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
    std::string text;
    const std::size_t end = quoted.size() - 1;
    for (std::size_t offset = 1; offset < end;) {
        const std::size_t escape = std::min(quoted.find('\\', offset), end);
        text += quoted.substr(offset, escape - offset);
        offset = escape;
        if (offset == end) {
            break;
        }
        if (quoted[offset + 1] == 'u') {
            AppendUnicodeEscape(quoted, offset, text);
        } else {
            text += kMeanings[kLetters.find(quoted[offset + 1])];
            offset += 2;
        }
    }
    return text;
}

ObjectMembers::ObjectMembers(std::string_view text)
    : text(text), offset(text.find('{') + 1) {}  // behind blanks and a byte order mark

bool ObjectMembers::Next(std::string& name, std::string_view& value) {
    SkipBlanks();
    if (text[offset] == '}') {
        return false;
    }
    if (text[offset] == ',') {
        ++offset;
        SkipBlanks();
    }
    const std::size_t nameStart = offset;
    SkipString();
    name = Unescape(text.substr(nameStart, offset - nameStart));
    SkipBlanks();
    ++offset;  // the colon
    SkipBlanks();
    value = TakeValue();
    return true;
}

void ObjectMembers::SkipBlanks() { offset = text.find_first_not_of(kBlanks, offset); }

std::string_view ObjectMembers::TakeValue() {
    const std::size_t start = offset;
    std::size_t depth = 0;
    do {
        const char byte = text[offset];
        if (byte == '"') {
            SkipString();
        } else if (byte == '{' || byte == '[') {
            ++depth;
            ++offset;
        } else if (byte == '}' || byte == ']') {
            --depth;
            ++offset;
        } else if (depth > 0) {
            offset = text.find_first_of("\"{}[]", offset);
        } else {
            offset = text.find_first_of(" \t\n\r,}", offset);
        }
    } while (depth > 0);
    return text.substr(start, offset - start);
}

void ObjectMembers::SkipString() {
    ++offset;
    while (text[offset] != '"') {
        offset += text[offset] == '\\' ? std::size_t{2} : std::size_t{1};
    }
    ++offset;
}

}  // namespace Json
