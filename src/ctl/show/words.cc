#include "ctl/show/words.h"

namespace Ctl {

std::string Joined(const std::vector<std::string>& words, std::string_view separator) {
    std::string text;
    for (const std::string& word : words) {
        text.append(&word == &words.front() ? "" : separator).append(word);
    }
    return text;
}

std::string Enumerated(const std::vector<std::string>& words, std::string_view conjunction) {
    if (words.size() < 2) {
        return Joined(words);
    }
    return Joined({words.begin(), words.end() - 1}) + " " + std::string(conjunction) + " " +
           words.back();
}

std::string Abridged(const std::vector<std::string>& words, std::size_t most) {
    if (words.size() <= most) {
        return Enumerated(words);
    }
    const auto end = words.begin() + static_cast<std::ptrdiff_t>(most);
    return Joined({words.begin(), end}) + " and " + std::to_string(words.size() - most) + " more";
}

std::string Counted(std::size_t count, std::string_view thing, std::string_view plural) {
    std::string text = std::to_string(count) + " ";
    if (count == 1) {
        return text.append(thing);
    }
    return plural.empty() ? text.append(thing).append("s") : text.append(plural);
}

}  // namespace Ctl
