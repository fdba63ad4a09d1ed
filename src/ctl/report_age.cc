#include "ctl/report_age.h"

#include "platform/runtime/date_time.h"

#include <cstdint>
#include <system_error>

namespace Ctl {

std::string AgeOf(const std::string& time, std::chrono::system_clock::time_point now) {
    std::error_code error;
    const Quon::DateTime parsed = Quon::DateTime::Create(time, error);
    if (error) {
        return "unknown";
    }
    const std::int64_t nowMilliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count();
    const std::int64_t seconds = (nowMilliseconds - parsed.MillisecondsSinceEpoch()) / 1000;
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
