#include "ctl/show/sizes.h"

#include "ctl/show/words.h"

#include <array>
#include <cstddef>
#include <cstdio>

namespace Ctl {

std::string SizeText(std::uintmax_t bytes) {
    constexpr std::array<const char*, 4> kUnits = {"KiB", "MiB", "GiB", "TiB"};
    if (bytes < 1024) {
        return Counted(bytes, "byte");
    }
    double size = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    // 999.95 and more would round to five digits
    for (; size >= 999.95 && unit + 1 < kUnits.size(); ++unit) {
        size /= 1024;
    }
    std::array<char, 32> text{};
    (void)std::snprintf(text.data(), text.size(), "%.1f %s", size, kUnits[unit]);  // fits
    return text.data();
}

}  // namespace Ctl
