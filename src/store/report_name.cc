// Matches by hand: std::regex recurses for each character, so a client's long name would exhaust
// the stack, and a compiled expression takes kilobytes for each name.
#include "store/report_name.h"

#include <algorithm>
#include <cstddef>

namespace Sentrel {

namespace {

constexpr std::string_view kExtension = ".json";
constexpr std::size_t kHyphenAndDigit = 2;

// std::isalnum depends on the locale; the rule is ASCII.
bool IsNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '.' || c == '-';
}

bool MatchesNameCharacter(char pattern, char c) {
    return pattern == '.' ? c != '\n' && c != '\r' : c == pattern;
}

}  // namespace

bool IsReportName(std::string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), IsNameCharacter);
}

bool IsSameReportName(std::string_view one, std::string_view other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](char a, char b) { return AsciiUpper(a) == AsciiUpper(b); });
}

std::string LinkName(std::string_view name) { return std::string(name).append(kExtension); }

std::string StoredFileName(std::string_view name, int index) {
    return LinkName(std::string(name) + "-" + std::to_string(index));
}

std::string TemporaryFileName(std::string_view name, int index) {
    return "." + StoredFileName(name, index);
}

std::optional<std::string_view> NameOfLink(std::string_view fileName) {
    return fileName.ends_with(kExtension)
               ? std::optional(fileName.substr(0, fileName.size() - kExtension.size()))
               : std::nullopt;
}

std::optional<std::string_view> NameOfStoredFile(std::string_view fileName) {
    const std::size_t tail = kHyphenAndDigit + kExtension.size();
    const std::string_view name =
        fileName.substr(0, fileName.size() - std::min(fileName.size(), tail));
    return IsReportName(name) && MatchesStoredFile(name, fileName) ? std::optional(name)
                                                                   : std::nullopt;
}

std::optional<int> MatchesStoredFile(std::string_view name, std::string_view fileName) {
    if (fileName.size() != name.size() + kHyphenAndDigit + kExtension.size() ||
        !std::equal(name.begin(), name.end(), fileName.begin(), MatchesNameCharacter)) {
        return std::nullopt;
    }
    const std::string_view ending = fileName.substr(name.size());
    const char digit = ending[1];
    if (ending[0] != '-' || digit < '0' || digit > '9' ||
        ending.substr(kHyphenAndDigit) != kExtension) {
        return std::nullopt;
    }
    return digit - '0';
}

}  // namespace Sentrel
