// What a report may be called, which names are the same, and which files of a report directory
// belong to a name. Paths and links are built by the report roller.
#pragma once

#include <optional>
#include <string_view>

namespace Sentrel {

// The rule of report names, as messages show it.
inline constexpr std::string_view kReportNameRule = "[a-zA-Z0-9_.-]+";

// Whether the whole of `name` follows the rule. Any bytes of any length: names come from clients.
bool IsReportName(std::string_view name);

// `byte`, or its capital when it is an ASCII letter, in any locale.
inline char AsciiUpper(char byte) {
    return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
}

// Whether two names are the same when ASCII case does not count. Any bytes.
bool IsSameReportName(std::string_view one, std::string_view other);

// The index in the file name of a stored report of `name`, 0 to 9; nothing when `fileName` is not
// one. The language is that of the regular expression (ECMAScript)
//
//   ^NAME-([0-9])\.json$
//
// with the name inserted unescaped: a "." of the name stands for any byte but CR and LF. `name`
// follows the rule above.
std::optional<int> MatchesStoredFile(std::string_view name, std::string_view fileName);

}  // namespace Sentrel
