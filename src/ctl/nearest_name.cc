#include "ctl/nearest_name.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <vector>

namespace Ctl {

namespace {

// Characters to add, remove or replace (Levenshtein).
std::size_t DistanceBetween(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

std::string NearestName(std::string_view name, std::span<const std::string> names) {
    constexpr std::size_t kMaxNameBytes = 256;  // nobody means a longer one
    constexpr std::size_t kLettersPerError = 3;
    std::string nearest;
    std::size_t least = std::min(name.size(), kMaxNameBytes) / kLettersPerError + 1;
    for (const std::string& other : names) {
        if (name.size() > kMaxNameBytes || other.size() > kMaxNameBytes) {
            continue;
        }
        const std::size_t distance = DistanceBetween(name, other);
        if (distance < least) {
            least = distance;
            nearest = other;
        }
    }
    return nearest;
}

}  // namespace Ctl
