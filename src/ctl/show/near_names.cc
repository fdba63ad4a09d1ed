#include "ctl/show/near_names.h"

#include "ctl/show/words.h"
#include "store/report_name.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace Ctl {

namespace {

constexpr std::size_t kMaxDistance = 2;
constexpr std::size_t kMostNames = 3;
// A shorter name is part of too many others.
constexpr std::size_t kLeastPart = 2;

// The edit distance (Levenshtein), computed row by row.
std::size_t DistanceOf(std::string_view one, std::string_view other) {
    std::vector<std::size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < one.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < other.size(); ++j) {
            const std::size_t replaced = diagonal + (one[i] == other[j] ? 0 : 1);
            diagonal = std::exchange(row[j + 1], std::min({replaced, row[j] + 1, row[j + 1] + 1}));
        }
    }
    return row.back();
}

std::string InCapitals(std::string_view text) {
    std::string capitals(text);
    std::transform(capitals.begin(), capitals.end(), capitals.begin(), Sentrel::AsciiUpper);
    return capitals;
}

bool IsPart(std::string_view part, std::string_view whole) {
    return part.size() >= kLeastPart && whole.find(part) != std::string_view::npos;
}

}  // namespace

std::vector<std::string> FindNearNames(std::string_view name,
                                       const std::vector<std::string>& names) {
    const std::string wanted = InCapitals(name);
    std::vector<std::pair<std::size_t, std::string>> near;
    for (const std::string& candidate : names) {
        const std::string capitals = InCapitals(candidate);
        const std::size_t distance = DistanceOf(wanted, capitals);
        const bool isNear = distance <= kMaxDistance && distance < wanted.size();
        if (isNear || IsPart(wanted, capitals) || IsPart(capitals, wanted)) {
            near.emplace_back(distance, candidate);
        }
    }
    std::sort(near.begin(), near.end());
    std::vector<std::string> nearest;
    for (auto& [distance, candidate] : near) {
        if (nearest.size() < kMostNames) {
            nearest.push_back(std::move(candidate));
        }
    }
    return nearest;
}

std::string NearNamesAdvice(std::string_view name, const std::vector<std::string>& names,
                            const std::string& otherwise) {
    std::vector<std::string> near = FindNearNames(name, names);
    for (std::string& quoted : near) {
        quoted.insert(0, 1, '"').push_back('"');
    }
    return near.empty() ? otherwise : "did you mean " + Enumerated(near, "or") + "?";
}

}  // namespace Ctl
