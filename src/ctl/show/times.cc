#include "ctl/show/times.h"

#include "ctl/show/durations.h"
#include "platform/runtime/values/date_time.h"

#include <array>
#include <ctime>
#include <system_error>

namespace Ctl {

std::string UtcText(std::chrono::system_clock::time_point time) {
    const std::time_t second = std::chrono::system_clock::to_time_t(time);
    std::tm utc{};
    (void)::gmtime_r(&second, &utc);  // fails for years beyond an int only
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc)};
}

std::string UtcTimeOfDay(std::chrono::system_clock::time_point time) {
    constexpr std::size_t kDateLength = 11;  // with the "T"
    return UtcText(time).substr(kDateLength);
}

std::string NormalTime(const std::string& time) {
    std::error_code error;
    const Quon::DateTime parsed = Quon::DateTime::Create(time, error);
    return error ? "" : parsed.ToString();
}

std::optional<std::chrono::seconds> AgeOf(const std::string& time,
                                          std::chrono::system_clock::time_point now) {
    std::error_code error;
    const Quon::DateTime parsed = Quon::DateTime::Create(time, error);
    if (error) {
        return std::nullopt;
    }
    using std::chrono::milliseconds;  // holds all years, unlike nanoseconds
    return std::chrono::duration_cast<std::chrono::seconds>(
        std::chrono::duration_cast<milliseconds>(now.time_since_epoch()) -
        milliseconds(parsed.MillisecondsSinceEpoch()));
}

std::string AgeText(const std::optional<std::chrono::seconds>& age) {
    if (!age) {
        return "unknown";
    }
    return *age < std::chrono::seconds(0) ? "in the future" : DurationText(*age);
}

std::string AgoText(const std::optional<std::chrono::seconds>& age) {
    return AgeText(age) + (age && *age >= std::chrono::seconds(0) ? " ago" : "");
}

}  // namespace Ctl
