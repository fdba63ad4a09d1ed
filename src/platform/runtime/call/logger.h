// The runtime's view of a log: it knows levels and texts, not where lines go. The host of the
// runtime gives it an adapter.
#pragma once

#include <string_view>

namespace Quon {

enum class LogLevel { Trace = 0, Debug = 1, Info = 2, Warning = 3, Error = 4 };

// Any thread may call. Neither call throws.
class Logger {
  public:
    virtual ~Logger() = default;
    // Asked before a text that costs something is put together.
    virtual bool IsOn(LogLevel level) const noexcept = 0;
    // `text` may hold any bytes, also what clients sent.
    virtual void Log(LogLevel level, std::string_view text) noexcept = 0;
};

}  // namespace Quon
