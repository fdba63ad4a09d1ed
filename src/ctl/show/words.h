// English lists of words, and counted nouns.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Ctl {

// All words, with `separator` between them.
std::string Joined(const std::vector<std::string>& words, std::string_view separator = ", ");

// "a", "a and b", "a, b and c"; `conjunction` may also be "or".
std::string Enumerated(const std::vector<std::string>& words, std::string_view conjunction = "and");

// Like Enumerated, but if there are more than `most` words, the first ones "and N more".
std::string Abridged(const std::vector<std::string>& words, std::size_t most = 5);

// "1 name", "2 names", "0 names". `plural` is needed only if it does not just add "s".
std::string Counted(std::size_t count, std::string_view thing, std::string_view plural = "");

}  // namespace Ctl
