// Which of some names a person may have meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Ctl {

// Those of `names` that differ from `name` in two letters at most, or have it in them, or stand in
// it; case aside, the nearest first, at most three.
std::vector<std::string> FindNearNames(std::string_view name,
                                       const std::vector<std::string>& names);

// "do you mean \"a\" or \"b\"?", or `otherwise` when there is none.
std::string NearNamesAdvice(std::string_view name, const std::vector<std::string>& names,
                            const std::string& otherwise);

}  // namespace Ctl
