// Finds the names that a person may have meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Ctl {

// The names that differ from `name` in at most two letters, contain it or are contained in it,
// ignoring case; the nearest first, at most three.
std::vector<std::string> FindNearNames(std::string_view name,
                                       const std::vector<std::string>& names);

// "did you mean \"a\" or \"b\"?", or `otherwise` when there is none.
std::string NearNamesAdvice(std::string_view name, const std::vector<std::string>& names,
                            const std::string& otherwise);

}  // namespace Ctl
