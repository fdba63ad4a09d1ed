// A point in time as the API carries it: RFC 3339 texts in and out, milliseconds in between.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>

namespace Quon {

// Why a text is no date-time; the messages say it in words for a person.
enum class DateTimeError {
    Syntax = 1,  // not "YYYY-MM-DDTHH:MM:SS[.fraction][zone]"
    Range,       // a field out of its range, or a day that its month does not have
    Year,        // outside 0001 to 9999, in UTC
    LocalTime    // no zone, and the host's local time has no such moment
};
std::error_code make_error_code(DateTimeError error);

// UTC. Always within the years 0001 to 9999. A value.
class DateTime {
  public:
    // The epoch, 1970-01-01T00:00:00.000Z.
    DateTime() = default;

    // Reads RFC 3339 section 5.6: "T", "t", "Z" and "z", a zone "+hh:mm" or "-hh:mm", a fraction of
    // one to nine digits of which three are kept (cut, not rounded), seconds up to 59. Without a
    // zone the text is the host's local time. On failure `error` is set and the epoch is returned.
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
