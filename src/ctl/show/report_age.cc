#include "ctl/show/report_age.h"

#include "platform/runtime/values/date_time.h"

#include <cstdint>
#include <system_error>

namespace Ctl {

std::optional<std::chrono::seconds> AgeOf(const std::string& time,
                                          std::chrono::system_clock::time_point now) {
    std::error_code error;
    const Quon::DateTime parsed = Quon::DateTime::Create(time, error);
    if (error) {
        return std::nullopt;
    }
    return std::chrono::duration_cast<std::chrono::seconds>(
        now.time_since_epoch() - std::chrono::milliseconds(parsed.MillisecondsSinceEpoch()));
}

std::string AgeText(const std::optional<std::chrono::seconds>& age) {
    if (!age) {
        return "unknown";
    }
    const std::int64_t seconds = age->count();
    if (seconds < 0) {
        return "in the future";
    }
    struct Unit {
        std::int64_t upTo;  // seconds
        std::int64_t size;
        const char* name;
    };
    constexpr Unit kUnits[] = {{120, 1, " s"}, {7200, 60, " min"}, {172800, 3600, " h"}};
    for (const Unit& unit : kUnits) {
        if (seconds < unit.upTo) {
            return std::to_string(seconds / unit.size) + unit.name;
        }
    }
    return std::to_string(seconds / 86400) + " d";
}

}  // namespace Ctl
