// What somebody may have meant who wrote a name that there is not.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace Ctl {

// The one of `names` that the fewest typing errors lead from to `name`; empty when it takes so many
// that it is a guess.
std::string NearestName(std::string_view name, std::span<const std::string> names);

}  // namespace Ctl
