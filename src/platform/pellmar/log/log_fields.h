// What the journal keeps of a message beside its text, for `journalctl SENTREL_REPORT=cpu` and the
// like. Other destinations have the text alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Pellmar::Service {

// The events that people search for; each has a fixed MESSAGE_ID.
enum class LogEvent : std::uint8_t { None, Start, Launch, Kill, Refusal, LostReservation };

// By reference: lives as long as the call that logs. What is empty, 0 or None is left out.
struct LogFields {
    std::string_view report{};  // SENTREL_REPORT: a report name
    std::string_view plugin{};  // SENTREL_PLUGIN: a plugin's name
    std::int32_t pid = 0;       // SENTREL_PID: the process id of a plugin
    LogEvent event = LogEvent::None;
};

inline constexpr LogFields kNoFields{};

// Bytes of a text from outside in a message below level 7, or in a field: the rest is cut off, at
// the border of a character.
inline constexpr std::size_t kMaxArgumentSize = 1024;

}  // namespace Pellmar::Service
