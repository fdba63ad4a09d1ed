// A point in time of the API: RFC 3339 text on the wire, milliseconds internally.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>

namespace Quon {

// Why a text is not a date-time.
enum class DateTimeError {
    Syntax = 1,  // not "YYYY-MM-DDTHH:MM:SS[.fraction][zone]"
    Range,       // a field out of range, or a day that the month lacks
    Year,        // outside 0001 to 9999, in UTC
    LocalTime    // no zone, and the time does not exist in the host's local time
};
std::error_code make_error_code(DateTimeError error);

// In UTC, always within the years 0001 to 9999. A value type.
class DateTime {
  public:
    // The epoch, 1970-01-01T00:00:00.000Z.
    DateTime() = default;

    // Parses RFC 3339 section 5.6: "T", "t", "Z" and "z", a zone "+hh:mm" or "-hh:mm", a fraction
    // of one to nine digits, truncated to three, seconds up to 59. A text without a zone is in the
    // host's local time. On failure sets `error` and returns the epoch.
    static DateTime Create(std::string_view text, std::error_code& error);

    std::int64_t MillisecondsSinceEpoch() const { return sinceEpoch.count(); }

    // "YYYY-MM-DDTHH:MM:SS.sssZ", 24 characters.
    std::string ToString() const;

    friend bool operator==(const DateTime&, const DateTime&) = default;

  private:
    std::chrono::milliseconds sinceEpoch{0};
};

}  // namespace Quon

template <>
struct std::is_error_code_enum<Quon::DateTimeError> : std::true_type {};
