// Named loggers with integer levels (3 survived failures, 5 milestones, 6 one request, 7 tracing)
// and the call that logs a message. log_sink formats and writes the lines.
#pragma once

#include "platform/pellmar/log/log_fields.h"
#include "platform/pellmar/object.h"

#include <atomic>
#include <concepts>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Pellmar::Service {

inline constexpr int kDefaultLogLevel = 5;

// A child has its own name, which appears alone in its lines, and shares its parent's level.
class Logger : public ObjectImpl {
  public:
    // The root of all loggers, named "sentrel", at level 5 until the configuration sets another.
    // Usable before InitApp, even from the constructors of statics: every file that includes this
    // header initialises it before its own statics. Never destroyed.
    static const Ref<Logger>& sDefaultLogger;

    static Ref<Logger> CreateLogger(const Ref<Logger>& parent, std::string_view name);

    // Without a parent, creates a root with its own level.
    Logger(std::string_view name, const Ref<Logger>& parent);

    const std::string& GetName() const { return name; }
    // Messages are written up to this level.
    int GetLevel() const { return level.load(std::memory_order_relaxed); }
    // Sets the level for this logger and all that share it. Any thread.
    void SetLevel(int newLevel);
    std::string ToString() const override { return name; }

  private:
    static const Ref<Logger>& DefaultLogger();

    const std::string name;
    const Ref<Logger> parent;
    std::atomic<int> ownLevel{kDefaultLogLevel};
    std::atomic<int>& level;  // ownLevel, or the root's
};

inline const Ref<Logger>& Logger::sDefaultLogger = Logger::DefaultLogger();

// An argument of a message, unformatted; refers to its value for the duration of the logging call.
class LogArgument {
  public:
    LogArgument(std::string_view text) : text(text), kind(Kind::Text) {}
    LogArgument(const std::string& text) : text(text), kind(Kind::Text) {}
    LogArgument(const char* text) : text(text), kind(Kind::Text) {}
    template <std::signed_integral T>
    LogArgument(T number)
        : number(static_cast<std::uint64_t>(static_cast<std::int64_t>(number))),
          kind(Kind::Signed) {}
    template <std::unsigned_integral T>
    LogArgument(T number) : number(number), kind(Kind::Unsigned) {}

    // Appends the decimal number, or the first `maxSize` bytes of the text, escaped (see
    // AppendEscaped).
    void AppendTo(std::string& line, std::size_t maxSize) const;

  private:
    enum class Kind : std::uint8_t { Text, Signed, Unsigned };

    std::string_view text;
    std::uint64_t number = 0;
    Kind kind;
};

// Replaces "%1" to "%4" in `format` and writes the message, whatever the level. Never throws.
void WriteMessage(const Logger& logger, int level, const LogFields& fields, std::string_view format,
                  std::span<const LogArgument> arguments) noexcept;

// Writes `format` with "%1" to "%4" replaced by the arguments if the logger's level is at least
// `level`; otherwise does nothing and formats nothing. Never throws, never blocks: a message that
// is not accepted at once is dropped and counted. A placeholder may occur twice; one without an
// argument, and any other "%", stays as it is. Below level 7 text arguments are cut to
// kMaxArgumentSize bytes. `fields` are for the journal, such as {.report = name}.
template <typename... Arguments>
    requires(sizeof...(Arguments) <= 4)
void LogInternal(const Ref<Logger>& logger, int level, const LogFields& fields,
                 std::string_view format, const Arguments&... arguments) {
    if (logger->GetLevel() < level) {
        return;
    }
    if constexpr (sizeof...(Arguments) == 0) {
        WriteMessage(*logger, level, fields, format, {});
    } else {
        const LogArgument list[] = {LogArgument(arguments)...};
        WriteMessage(*logger, level, fields, format, list);
    }
}

template <typename... Arguments>
    requires(sizeof...(Arguments) <= 4)
void LogInternal(const Ref<Logger>& logger, int level, std::string_view format,
                 const Arguments&... arguments) {
    LogInternal(logger, level, kNoFields, format, arguments...);
}

}  // namespace Pellmar::Service
