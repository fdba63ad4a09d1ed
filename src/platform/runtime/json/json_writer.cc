#include "platform/runtime/json/json_writer.h"

#include "platform/sys/utf8.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <utility>
#include <variant>

namespace Quon::Protocol::Json {

namespace {

using Data::DataValue;
using Data::FieldValue;
using Data::ListSource;
using Data::ListValue;
using Data::StructureValue;

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";  // U+FFFD

bool IsPlain(char byte) {
    const auto code = static_cast<unsigned char>(byte);
    return code >= 0x20 && code < 0x80 && byte != '"' && byte != '\\';
}

void AppendEscape(char byte, std::string& json) {
    constexpr std::string_view kEscaped = "\"\\\b\f\n\r\t";
    constexpr std::string_view kLetters = "\"\\bfnrt";
    constexpr std::string_view kHexDigits = "0123456789abcdef";
    json += '\\';
    if (const std::size_t index = kEscaped.find(byte); index != std::string_view::npos) {
        json += kLetters[index];
        return;
    }
    const auto code = static_cast<unsigned char>(byte);
    json += "u00";
    json += kHexDigits[code >> 4U];
    json += kHexDigits[code & 0xFU];
}

// Writes scalar values; returns false for a container.
class ScalarWriter {
  public:
    explicit ScalarWriter(std::string& json) : json(json) {}

    bool operator()(std::monostate /*unset*/) const { return Put("null"); }
    bool operator()(bool value) const { return Put(value ? "true" : "false"); }
    bool operator()(std::int64_t value) const { return PutNumber(value); }
    bool operator()(double value) const {
        return std::isfinite(value) ? PutNumber(value) : Put("null");  // JSON cannot express it
    }
    bool operator()(const std::string& value) const {
        AppendString(value, json);
        return true;
    }
    bool operator()(const std::shared_ptr<const std::string>& value) const {
        return (*this)(*value);
    }
    bool operator()(DateTime value) const { return Put('"' + value.ToString() + '"'); }
    template <typename Container>
    bool operator()(const std::shared_ptr<const Container>& /*value*/) const {
        return false;
    }

  private:
    bool Put(std::string_view text) const {
        json += text;
        return true;
    }
    template <typename Number>
    bool PutNumber(Number number) const {
        std::array<char, 32> digits{};
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number);
        json.append(digits.data(), end.ptr);
        return true;
    }

    std::string& json;
};

}  // namespace

void AppendString(std::string_view text, std::string& json) {
    json += '"';
    std::size_t plainStart = 0;
    const auto flush = [&](std::size_t end) { json += text.substr(plainStart, end - plainStart); };
    for (std::size_t offset = 0; offset < text.size();) {
        const char byte = text[offset];
        if (IsPlain(byte)) {
            ++offset;
            continue;
        }
        const bool isAscii = static_cast<unsigned char>(byte) < 0x80;
        const std::size_t length = isAscii ? 0 : Sys::Utf8LengthAt(text, offset);
        if (length > 0) {
            offset += length;
            continue;
        }
        flush(offset);
        if (isAscii) {
            AppendEscape(byte, json);
        } else {
            json += kReplacementCharacter;
        }
        plainStart = ++offset;
    }
    flush(text.size());
    json += '"';
}

ValueWriter::ValueWriter(DataValue value) : root(std::move(value)) {}

bool ValueWriter::Next(std::string& json, std::size_t wantedBytes) {
    const std::size_t start = json.size();
    if (!isStarted) {
        isStarted = true;
        Begin(root, json);
    }
    while (!levels.empty() && json.size() - start < wantedBytes) {
        Step(json);
    }
    return !levels.empty();
}

void ValueWriter::Begin(const DataValue& value, std::string& json) {
    if (std::visit(ScalarWriter(json), value.Content())) {
        return;
    }
    json += value.AsStructure() != nullptr ? '{' : '[';
    levels.push_back({value, 0, true});
}

void ValueWriter::Step(std::string& json) {
    Level& level = levels.back();
    const std::size_t index = level.next++;
    if (const StructureValue* structure = level.container.AsStructure()) {
        if (index == structure->Fields().size()) {
            End('}', json);
            return;
        }
        const FieldValue& field = structure->Fields()[index];
        if (!field.value.IsUnset()) {
            Separate(json);
            AppendString(field.name, json);
            json += ':';
            Begin(field.value, json);
        }
        return;
    }
    const auto* source = level.container.As<std::shared_ptr<const ListSource>>();
    const ListValue* list = level.container.AsList();
    if (index == (source != nullptr ? (*source)->Size() : list->size())) {
        End(']', json);
        return;
    }
    Separate(json);
    Begin(source != nullptr ? (*source)->At(index) : (*list)[index], json);
}

void ValueWriter::Separate(std::string& json) {
    json += levels.back().isAtStart ? "" : ",";
    levels.back().isAtStart = false;
}

void ValueWriter::End(char closing, std::string& json) {
    json += closing;
    levels.pop_back();
}

}  // namespace Quon::Protocol::Json
