#include "ctl/show/lifetime.h"

#include <charconv>
#include <cstdint>
#include <system_error>

namespace Ctl {

std::optional<std::chrono::seconds> ParseLifetime(std::string_view text) {
    constexpr std::string_view kUnits = "smhd";
    constexpr std::int64_t kSeconds[] = {1, 60, 3600, 86400};
    const std::size_t unit = text.empty() ? std::string_view::npos : kUnits.find(text.back());
    if (unit == std::string_view::npos) {
        return std::nullopt;
    }
    std::int32_t count = 0;
    const char* end = text.data() + text.size() - 1;
    const auto [stop, error] = std::from_chars(text.data(), end, count);
    const std::chrono::seconds lifetime(count * kSeconds[unit]);
    if (error != std::errc() || stop != end || lifetime < std::chrono::seconds(1) ||
        lifetime > kMaxLifetime) {
        return std::nullopt;
    }
    return lifetime;
}

}  // namespace Ctl
