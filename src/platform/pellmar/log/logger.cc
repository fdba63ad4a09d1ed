// Fills in the placeholders of messages. Callers have checked the level; log_sink formats the line.
#include "platform/pellmar/log/logger.h"

#include "platform/pellmar/log/escape.h"
#include "platform/pellmar/log/log_sink.h"
#include "platform/sys/utf8.h"

#include <cstddef>
#include <exception>

namespace Pellmar::Service {

namespace {

constexpr int kTracingLevel = 7;

// Works in one pass, so that a placeholder in an argument is not replaced.
std::string Fill(std::string_view format, std::span<const LogArgument> arguments,
                 std::size_t maxArgumentSize) {
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
        arguments[static_cast<std::size_t>(digit - '1')].AppendTo(message, maxArgumentSize);
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

void LogArgument::AppendTo(std::string& line, std::size_t maxSize) const {
    switch (kind) {
        case Kind::Text:
            AppendEscaped(line, Sys::CutUtf8(text, maxSize));
            break;
        case Kind::Signed:
            line += std::to_string(static_cast<std::int64_t>(number));
            break;
        case Kind::Unsigned:
            line += std::to_string(number);
            break;
    }
}

void WriteMessage(const Logger& logger, int level, const LogFields& fields, std::string_view format,
                  std::span<const LogArgument> arguments) noexcept {
    LogSink& sink = LogSink::Current();
    if (arguments.empty()) {
        sink.Write(level, logger.GetName(), format, fields);
        return;
    }
    try {
        const std::size_t maxArgumentSize =
            level < kTracingLevel ? kMaxArgumentSize : std::string_view::npos;
        sink.Write(level, logger.GetName(), Fill(format, arguments, maxArgumentSize), fields);
    } catch (const std::exception&) {
        // Memory is exhausted; the text without arguments is better than nothing.
        sink.Write(level, logger.GetName(), format, fields);
    }
}

}  // namespace Pellmar::Service
