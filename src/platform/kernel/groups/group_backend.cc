#include "platform/kernel/groups/group_backend.h"

#include <algorithm>

namespace Kernel {

std::vector<std::string> SplitGroupPath(std::string_view path) {
    std::vector<std::string> segments;
    for (std::size_t start = 0; start <= path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        const std::string_view segment = path.substr(start, end - start);
        if (segment.empty() || segment == "." || segment == ".." ||
            segment.find('\0') != std::string_view::npos) {
            return {};
        }
        segments.emplace_back(segment);
        start = end + 1;
    }
    return segments;
}

}  // namespace Kernel
