// The log interface of the runtime, which knows only levels and texts. The host of the runtime
// implements it.
#pragma once

#include <string_view>

namespace Quon {

enum class LogLevel { Trace = 0, Debug = 1, Info = 2, Warning = 3, Error = 4 };

// Any thread. Never throws.
class Logger {
  public:
    virtual ~Logger() = default;
    // Call it before composing an expensive text.
    virtual bool IsOn(LogLevel level) const noexcept = 0;
    // `text` may contain any bytes, including what clients sent.
    virtual void Log(LogLevel level, std::string_view text) noexcept = 0;
};

}  // namespace Quon
