#include "platform/runtime/values/date_time.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>

namespace Quon {

namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::sys_seconds;
using std::chrono::year;
using std::chrono::year_month_day;

constexpr sys_seconds kFirst = sys_days(year(1) / 1 / 1);
constexpr sys_seconds kEnd = sys_days(year(10000) / 1 / 1);

// The fields of a text before they are converted to a point in time.
struct Fields {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int millisecond = 0;
    std::optional<minutes> zone;  // east of UTC; unset: the host's local time

    year_month_day Date() const {
        return {std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                std::chrono::day(static_cast<unsigned>(day))};
    }
};

// Reads a text from left to right. Each call returns false if the text does not match.
class Reader {
  public:
    explicit Reader(std::string_view text) : rest(text) {}

    bool TakeNumber(std::size_t digits, int& number) {
        if (rest.size() < digits) {
            return false;
        }
        number = 0;
        for (const char byte : rest.substr(0, digits)) {
            if (byte < '0' || byte > '9') {
                return false;
            }
            number = number * 10 + (byte - '0');
        }
        rest.remove_prefix(digits);
        return true;
    }

    bool TakeOneOf(std::string_view characters) {
        if (rest.empty() || characters.find(rest.front()) == std::string_view::npos) {
            return false;
        }
        rest.remove_prefix(1);
        return true;
    }

    // Reads one to nine digits after the point and keeps three.
    bool TakeFraction(int& millisecond) {
        constexpr std::size_t kMaxDigits = 9;
        const std::size_t digits = std::min(rest.find_first_not_of("0123456789"), rest.size());
        int scale = 100;
        for (const char byte : rest.substr(0, digits)) {
            millisecond += (byte - '0') * scale;
            scale /= 10;
        }
        rest.remove_prefix(digits);
        return digits >= 1 && digits <= kMaxDigits;
    }

    bool IsAtEnd() const { return rest.empty(); }
    bool IsAt(char character) const { return !rest.empty() && rest.front() == character; }

  private:
    std::string_view rest;
};

// The caller checks the range of a zone's hours and minutes.
bool TakeZone(Reader& reader, int& hours, int& minutes, bool& isWest) {
    isWest = reader.IsAt('-');
    return reader.TakeOneOf("+-") && reader.TakeNumber(2, hours) && reader.TakeOneOf(":") &&
           reader.TakeNumber(2, minutes);
}

std::error_code ReadFields(std::string_view text, Fields& fields) {
    Reader reader(text);
    const bool hasTime = reader.TakeNumber(4, fields.year) && reader.TakeOneOf("-") &&
                         reader.TakeNumber(2, fields.month) && reader.TakeOneOf("-") &&
                         reader.TakeNumber(2, fields.day) && reader.TakeOneOf("Tt") &&
                         reader.TakeNumber(2, fields.hour) && reader.TakeOneOf(":") &&
                         reader.TakeNumber(2, fields.minute) && reader.TakeOneOf(":") &&
                         reader.TakeNumber(2, fields.second) &&
                         (!reader.TakeOneOf(".") || reader.TakeFraction(fields.millisecond));
    if (!hasTime) {
        return DateTimeError::Syntax;
    }
    int zoneHours = 0;
    int zoneMinutes = 0;
    if (!reader.IsAtEnd()) {
        bool isWest = false;
        if (!reader.TakeOneOf("Zz") && !TakeZone(reader, zoneHours, zoneMinutes, isWest)) {
            return DateTimeError::Syntax;
        }
        const minutes zone = hours(zoneHours) + minutes(zoneMinutes);
        fields.zone = isWest ? -zone : zone;
    }
    if (!reader.IsAtEnd()) {
        return DateTimeError::Syntax;
    }
    const bool isInRange = fields.Date().ok() && fields.hour <= 23 && fields.minute <= 59 &&
                           fields.second <= 59 && zoneHours <= 23 && zoneMinutes <= 59;
    return isInRange ? std::error_code() : DateTimeError::Range;
}

// Converts fields in the host's local time.
std::error_code FromLocalTime(const Fields& fields, sys_seconds& moment) {
    std::tm local{};
    local.tm_year = fields.year - 1900;
    local.tm_mon = fields.month - 1;
    local.tm_mday = fields.day;
    local.tm_hour = fields.hour;
    local.tm_min = fields.minute;
    local.tm_sec = fields.second;
    local.tm_isdst = -1;
    local.tm_wday = -1;  // unchanged after a failure; mktime's result -1 alone is ambiguous
    moment = sys_seconds(seconds(std::mktime(&local)));
    // mktime changes a time that is skipped when the clocks go forward.
    const bool exists = local.tm_wday != -1 && local.tm_hour == fields.hour &&
                        local.tm_min == fields.minute && local.tm_sec == fields.second &&
                        local.tm_mday == fields.day;
    return exists ? std::error_code() : DateTimeError::LocalTime;
}

sys_seconds FromZone(const Fields& fields) {
    return sys_days(fields.Date()) + hours(fields.hour) + minutes(fields.minute) +
           seconds(fields.second) - *fields.zone;
}

class Category : public std::error_category {
  public:
    const char* name() const noexcept override { return "quon DateTime"; }
    std::string message(int code) const override {
        switch (static_cast<DateTimeError>(code)) {
            case DateTimeError::Syntax:
                return "it does not have the form YYYY-MM-DDTHH:MM:SS, a fraction of up to nine "
                       "digits, and Z or +hh:mm";
            case DateTimeError::Range:
                return "a field is out of range, or the month has no such day";
            case DateTimeError::Year:
                return "its year is not between 0001 and 9999 in UTC";
            case DateTimeError::LocalTime:
                break;
        }
        return "it has no zone, and the host's local time skips this time";
    }
};

// Writes `number` with leading zeros into the `digits` characters from `position` on.
void PutNumber(std::string& text, std::size_t position, std::size_t digits, std::int64_t number) {
    for (std::size_t i = digits; i > 0; --i) {
        text[position + i - 1] = static_cast<char>('0' + number % 10);
        number /= 10;
    }
}

}  // namespace

std::error_code make_error_code(DateTimeError error) {
    static const Category sCategory;
    return {static_cast<int>(error), sCategory};
}

DateTime DateTime::Create(std::string_view text, std::error_code& error) {
    Fields fields;
    error = ReadFields(text, fields);
    if (error) {
        return {};
    }
    sys_seconds moment;
    if (fields.zone) {
        moment = FromZone(fields);
    } else if (error = FromLocalTime(fields, moment); error) {
        return {};
    }
    if (moment < kFirst || moment >= kEnd) {
        error = DateTimeError::Year;
        return {};
    }
    DateTime time;
    time.sinceEpoch = moment.time_since_epoch() + milliseconds(fields.millisecond);
    return time;
}

std::string DateTime::ToString() const {
    const std::chrono::sys_time<milliseconds> moment(sinceEpoch);
    const sys_days day = floor<days>(moment);
    const year_month_day date(day);
    const std::chrono::hh_mm_ss time(moment - day);
    std::string text = "0000-00-00T00:00:00.000Z";
    PutNumber(text, 0, 4, static_cast<int>(date.year()));
    PutNumber(text, 5, 2, static_cast<unsigned>(date.month()));
    PutNumber(text, 8, 2, static_cast<unsigned>(date.day()));
    PutNumber(text, 11, 2, time.hours().count());
    PutNumber(text, 14, 2, time.minutes().count());
    PutNumber(text, 17, 2, time.seconds().count());
    PutNumber(text, 20, 3, time.subseconds().count());
    return text;
}

}  // namespace Quon
