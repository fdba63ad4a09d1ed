// Fills the texts of messages and escapes their arguments. Level and line form are decided
// elsewhere.
#include "platform/pellmar/log/logger.h"

#include "platform/pellmar/log/log_sink.h"
#include "platform/sys/utf8.h"

#include <cstddef>
#include <exception>

namespace Pellmar::Service {

namespace {

// Bytes of the UTF-8 sequence (RFC 3629 section 4) at the start of `text` that may stand in a line
// as it is; 0 when its first byte must be escaped.
std::size_t PrintableLength(std::string_view text) {
    const std::size_t length = Sys::Utf8LengthAt(text, 0);
    const auto first = static_cast<unsigned char>(text[0]);
    const bool isControl = length == 1 ? first < 0x20 || first == 0x7F
                                       : text.substr(0, 2) < "\xC2\xA0";  // U+0080 to U+009F
    return isControl ? 0 : length;
}

void AppendByteEscaped(std::string& line, char byte) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    const auto value = static_cast<unsigned char>(byte);
    line += "\\x";
    line += kDigits[value >> 4];
    line += kDigits[value & 0xF];
}

void AppendEscaped(std::string& line, std::string_view text) {
    std::size_t copied = 0;
    std::size_t position = 0;
    while (position < text.size()) {
        const std::size_t length = PrintableLength(text.substr(position));
        if (length > 0) {
            position += length;
            continue;
        }
        line += text.substr(copied, position - copied);
        AppendByteEscaped(line, text[position]);
        copied = ++position;
    }
    line += text.substr(copied);
}

// In one pass: what an argument says is never taken for a placeholder.
std::string Fill(std::string_view format, std::span<const LogArgument> arguments) {
    std::string message;
    message.reserve(format.size() + 64);
    std::size_t copied = 0;
    for (std::size_t sign = format.find('%'); sign != std::string_view::npos;
         sign = format.find('%', sign + 1)) {
        const char digit = sign + 1 < format.size() ? format[sign + 1] : '\0';
        if (digit < '1' || static_cast<std::size_t>(digit - '1') >= arguments.size()) {
            continue;
        }
        message += format.substr(copied, sign - copied);
        arguments[static_cast<std::size_t>(digit - '1')].AppendTo(message);
        copied = sign + 2;
    }
    message += format.substr(copied);
    return message;
}

}  // namespace

const Ref<Logger>& Logger::DefaultLogger() {
    // Never destroyed, so that the destructors of statics may log.
    static const auto& logger = *new Ref<Logger>(MakeRef<Logger>("sentrel", Ref<Logger>()));
    return logger;
}

Ref<Logger> Logger::CreateLogger(const Ref<Logger>& parent, std::string_view name) {
    return MakeRef<Logger>(name, parent);
}

Logger::Logger(std::string_view name, const Ref<Logger>& parent)
    : name(name), parent(parent), level(parent ? parent->level : ownLevel) {}

void Logger::SetLevel(int newLevel) { level.store(newLevel, std::memory_order_relaxed); }

void LogArgument::AppendTo(std::string& line) const {
    switch (kind) {
        case Kind::Text:
            AppendEscaped(line, text);
            break;
        case Kind::Signed:
            line += std::to_string(static_cast<std::int64_t>(number));
            break;
        case Kind::Unsigned:
            line += std::to_string(number);
            break;
    }
}

void WriteMessage(const Logger& logger, int level, std::string_view format,
                  std::span<const LogArgument> arguments) noexcept {
    LogSink& sink = LogSink::Current();
    if (arguments.empty()) {
        sink.Write(level, logger.GetName(), format);
        return;
    }
    try {
        sink.Write(level, logger.GetName(), Fill(format, arguments));
    } catch (const std::exception&) {
        // Memory is out; the bare text tells more than nothing.
        sink.Write(level, logger.GetName(), format);
    }
}

}  // namespace Pellmar::Service
