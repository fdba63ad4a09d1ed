// The rule for report names, their comparison, and the names of their files in a report directory.
// The report roller creates the files.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Sentrel {

// The rule for report names, as shown in messages.
inline constexpr std::string_view kReportNameRule = "[a-zA-Z0-9_.-]+";

// Whether the whole `name` follows the rule. Accepts any bytes of any length, since names come from
// clients.
bool IsReportName(std::string_view name);

// `byte`, capitalised if it is an ASCII letter, in any locale.
inline char AsciiUpper(char byte) {
    return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
}

// Compares two names, ignoring ASCII case. Accepts any bytes.
bool IsSameReportName(std::string_view one, std::string_view other);

// The report directory of an installed daemon.
inline constexpr const char* kReportDirectory = "/var/lib/korvex/sentrel/reports";

// How many reports of a name are kept.
inline constexpr std::int32_t kFilesPerName = 3;

// The file names of a report name: "NAME.json" is the link to its newest report, "NAME-INDEX.json"
// a stored report, and ".NAME-INDEX.json" a report being received.
std::string LinkName(std::string_view name);
std::string StoredFileName(std::string_view name, int index);
std::string TemporaryFileName(std::string_view name, int index);

// The report name of a link's file name; nothing if that does not end in ".json".
std::optional<std::string_view> NameOfLink(std::string_view fileName);

// The report name of a stored report's file name; nothing if it is not one. A leading dot is part
// of the name: the temporary file of "cpu" looks like a stored report of ".cpu".
std::optional<std::string_view> NameOfStoredFile(std::string_view fileName);

// The index, 0 to 9, in the file name of a stored report of `name`; nothing if `fileName` is not
// one. Matches the regular expression (ECMAScript)
//
//   ^NAME-([0-9])\.json$
//
// with the name inserted unescaped: a "." in the name matches any byte but CR and LF. `name`
// follows the rule above.
std::optional<int> MatchesStoredFile(std::string_view name, std::string_view fileName);

}  // namespace Sentrel
