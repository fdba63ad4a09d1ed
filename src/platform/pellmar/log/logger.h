// Named loggers with integer levels (3 survived failures, 5 milestones, 6 one request, 7 tracing)
// and the call that writes a message. Where lines go and how they look is log_sink's business.
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

// A child has its own name, which stands alone in its lines, and shares the level of its parent.
class Logger : public ObjectImpl {
  public:
    // The root of all loggers, named "sentrel", at level 5 until the configuration says otherwise.
    // Usable before InitApp, from the constructors of statics too: every file that includes this
    // header initialises it before its own statics. Never destroyed.
    static const Ref<Logger>& sDefaultLogger;

    static Ref<Logger> CreateLogger(const Ref<Logger>& parent, std::string_view name);

    // Without a parent, a root with a level of its own.
    Logger(std::string_view name, const Ref<Logger>& parent);

    const std::string& GetName() const { return name; }
    // A message of level L is written when the level is at least L.
    int GetLevel() const { return level.load(std::memory_order_relaxed); }
    // Sets the level of this logger and of all that share it. Any thread.
    void SetLevel(int newLevel);
    std::string ToString() const override { return name; }

  private:
    static const Ref<Logger>& DefaultLogger();

    const std::string name;
    const Ref<Logger> parent;
    std::atomic<int> ownLevel{kDefaultLogLevel};
    std::atomic<int>& level;  // ownLevel, or that of the root
};

inline const Ref<Logger>& Logger::sDefaultLogger = Logger::DefaultLogger();

// One argument of a message, by reference and unformatted: lives as long as the call that logs.
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

    // Appends the decimal number, or the text, its first `maxSize` bytes at most, escaped (see
    // AppendEscaped).
    void AppendTo(std::string& line, std::size_t maxSize) const;

  private:
    enum class Kind : std::uint8_t { Text, Signed, Unsigned };

    std::string_view text;
    std::uint64_t number = 0;
    Kind kind;
};

// Fills "%1" to "%4" of `format` and writes the message, without looking at the level. Never
// throws.
void WriteMessage(const Logger& logger, int level, const LogFields& fields, std::string_view format,
                  std::span<const LogArgument> arguments) noexcept;

// Writes `format` with "%1" to "%4" replaced by the arguments when the logger's level is at least
// `level`, and does nothing otherwise, formatting least of all. Never throws, never waits: a
// message that cannot be taken at once is dropped and counted. A placeholder may occur twice; one
// without an argument, and "%" before anything else, stays as it is. Below level 7 a text argument
// counts with its first kMaxArgumentSize bytes. `fields` are for the journal, such as {.report =
// name}.
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
