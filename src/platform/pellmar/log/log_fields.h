// The journal's fields of a message in addition to its text, for example for `journalctl
// SENTREL_REPORT=cpu`. Other destinations receive only the text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Pellmar::Service {

// Events that people search for; each has a fixed MESSAGE_ID.
enum class LogEvent : std::uint8_t { None, Start, Launch, Kill, Refusal, LostReservation };

// References, valid for the duration of the logging call. Empty, 0 and None are omitted.
struct LogFields {
    std::string_view report{};  // SENTREL_REPORT: a report name
    std::string_view plugin{};  // SENTREL_PLUGIN: a plugin's name
    std::int32_t pid = 0;       // SENTREL_PID: the process id of a plugin
    LogEvent event = LogEvent::None;
};

inline constexpr LogFields kNoFields{};

// The length in bytes to which a text from outside is cut, at a character boundary, in a message
// below level 7 and in a field.
inline constexpr std::size_t kMaxArgumentSize = 1024;

}  // namespace Pellmar::Service
