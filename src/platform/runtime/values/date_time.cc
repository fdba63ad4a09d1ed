#include "platform/runtime/values/date_time.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <ctime>
#include <optional>

namespace Quon {

namespace {

constexpr std::int64_t kMillisecondsPerSecond = 1000;
constexpr std::int64_t kSecondsPerMinute = 60;
constexpr std::int64_t kSecondsPerHour = 3600;
constexpr std::int64_t kSecondsPerDay = 86400;

constexpr std::int64_t kDaysPerEra = 146097;   // 400 years
constexpr std::int64_t kDaysToEpoch = 719468;  // from 0000-03-01

// The days from 1970-01-01 to a day of the proleptic Gregorian calendar. Years are counted from
// 1 March, so that the leap day ends them; an era is 400 years.
constexpr std::int64_t DaysToDate(std::int64_t year, int month, int day) {
    const std::int64_t marchYear = month > 2 ? year : year - 1;
    const std::int64_t era = marchYear / 400;
    const std::int64_t yearOfEra = marchYear % 400;
    const std::int64_t monthFromMarch = (month + 9) % 12;
    const std::int64_t dayOfYear = (153 * monthFromMarch + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * kDaysPerEra + dayOfEra - kDaysToEpoch;
}

constexpr std::int64_t kFirstSecond = DaysToDate(1, 1, 1) * kSecondsPerDay;
constexpr std::int64_t kEndSecond = DaysToDate(10000, 1, 1) * kSecondsPerDay;
static_assert(DaysToDate(1970, 1, 1) == 0 && DaysToDate(2000, 3, 1) == 11017);

constexpr bool IsLeapYear(int year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

int DaysInMonth(int year, int month) {
    constexpr std::array<int, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeapYear(year) ? 29 : kDays[static_cast<std::size_t>(month - 1)];
}

// What a text says, before it is known what moment that is.
struct Fields {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int millisecond = 0;
    std::optional<std::int64_t> zoneSeconds;  // east of UTC; none: the host's local time
};

// Takes a text apart from left to right. A call returns false when something else stands there.
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

    // One to nine digits behind the point, of which three are kept.
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

// A zone with hours and minutes out of their range is left for the caller to find.
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
        const std::int64_t seconds = zoneHours * kSecondsPerHour + zoneMinutes * kSecondsPerMinute;
        fields.zoneSeconds = isWest ? -seconds : seconds;
    }
    if (!reader.IsAtEnd()) {
        return DateTimeError::Syntax;
    }
    const bool isInRange = fields.month >= 1 && fields.month <= 12 && fields.day >= 1 &&
                           fields.day <= DaysInMonth(fields.year, fields.month) &&
                           fields.hour <= 23 && fields.minute <= 59 && fields.second <= 59 &&
                           zoneHours <= 23 && zoneMinutes <= 59;
    return isInRange ? std::error_code() : DateTimeError::Range;
}

// The moment at which the host's clocks on the wall show the fields.
std::error_code ToLocalSeconds(const Fields& fields, std::int64_t& seconds) {
    std::tm local{};
    local.tm_year = fields.year - 1900;
    local.tm_mon = fields.month - 1;
    local.tm_mday = fields.day;
    local.tm_hour = fields.hour;
    local.tm_min = fields.minute;
    local.tm_sec = fields.second;
    local.tm_isdst = -1;
    local.tm_wday = -1;  // still so after a failure, for which -1 alone is no sign
    seconds = std::mktime(&local);
    // A moment that is skipped when the clocks go forward comes back as another one.
    const bool exists = local.tm_wday != -1 && local.tm_hour == fields.hour &&
                        local.tm_min == fields.minute && local.tm_sec == fields.second &&
                        local.tm_mday == fields.day;
    return exists ? std::error_code() : DateTimeError::LocalTime;
}

std::int64_t ToUtcSeconds(const Fields& fields) {
    return DaysToDate(fields.year, fields.month, fields.day) * kSecondsPerDay +
           fields.hour * kSecondsPerHour + fields.minute * kSecondsPerMinute + fields.second -
           *fields.zoneSeconds;
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
                return "a part of it is out of its range, or its month has no such day";
            case DateTimeError::Year:
                return "its year is not between 0001 and 9999 in UTC";
            case DateTimeError::LocalTime:
                break;
        }
        return "it has no zone, and the local time of the host skips this moment";
    }
};

// Writes `number` with leading zeros into the `digits` characters from `position` on.
void PutNumber(std::string& text, std::size_t position, std::size_t digits, std::int64_t number) {
    for (std::size_t i = digits; i > 0; --i) {
        text[position + i - 1] = static_cast<char>('0' + number % 10);
        number /= 10;
    }
}

struct Date {
    std::int64_t year;
    std::int64_t month;
    std::int64_t day;
};

// The converse of DaysToDate, for days from 0000-03-01 on.
Date ToDate(std::int64_t days) {
    const std::int64_t sinceMarch = days + kDaysToEpoch;
    const std::int64_t era = sinceMarch / kDaysPerEra;
    const std::int64_t dayOfEra = sinceMarch % kDaysPerEra;
    const std::int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    const std::int64_t month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    return {era * 400 + yearOfEra + (month <= 2 ? 1 : 0), month,
            dayOfYear - (153 * monthFromMarch + 2) / 5 + 1};
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
    std::int64_t seconds = 0;
    if (fields.zoneSeconds) {
        seconds = ToUtcSeconds(fields);
    } else if (error = ToLocalSeconds(fields, seconds); error) {
        return {};
    }
    if (seconds < kFirstSecond || seconds >= kEndSecond) {
        error = DateTimeError::Year;
        return {};
    }
    DateTime time;
    time.milliseconds = seconds * kMillisecondsPerSecond + fields.millisecond;
    return time;
}

std::string DateTime::ToString() const {
    // Counted from the first day that can be written, so that nothing is negative.
    const std::int64_t sinceFirst = milliseconds - kFirstSecond * kMillisecondsPerSecond;
    const std::int64_t millisecond = sinceFirst % kMillisecondsPerSecond;
    const std::int64_t second = sinceFirst / kMillisecondsPerSecond;
    const std::int64_t secondOfDay = second % kSecondsPerDay;
    const Date date = ToDate(second / kSecondsPerDay + kFirstSecond / kSecondsPerDay);
    std::string text = "0000-00-00T00:00:00.000Z";
    PutNumber(text, 0, 4, date.year);
    PutNumber(text, 5, 2, date.month);
    PutNumber(text, 8, 2, date.day);
    PutNumber(text, 11, 2, secondOfDay / kSecondsPerHour);
    PutNumber(text, 14, 2, secondOfDay % kSecondsPerHour / kSecondsPerMinute);
    PutNumber(text, 17, 2, secondOfDay % kSecondsPerMinute);
    PutNumber(text, 20, 3, millisecond);
    return text;
}

}  // namespace Quon
