// What a report may be called, which names are the same, and how the files of a name are called in
// a report directory. The report roller creates them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
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

// The directory in which an installed daemon keeps its reports.
inline constexpr const char* kReportDirectory = "/var/lib/korvex/sentrel/reports";

// How many reports of a name are kept.
inline constexpr std::int32_t kFilesPerName = 3;

// The file names of a report name: "NAME.json", the link to its newest report, "NAME-INDEX.json", a
// stored report, and ".NAME-INDEX.json", a report that is being received.
std::string LinkName(std::string_view name);
std::string StoredFileName(std::string_view name, int index);
std::string TemporaryFileName(std::string_view name, int index);

// The report name whose link has that file name; nothing when it does not end in ".json".
std::optional<std::string_view> NameOfLink(std::string_view fileName);

// The report name whose stored report has that file name; nothing when it is not one. A leading dot
// is part of the name: the temporary file of "cpu" reads as a stored report of ".cpu".
std::optional<std::string_view> NameOfStoredFile(std::string_view fileName);

// The index in the file name of a stored report of `name`, 0 to 9; nothing when `fileName` is not
// one. The language is that of the regular expression (ECMAScript)
//
//   ^NAME-([0-9])\.json$
//
// with the name inserted unescaped: a "." of the name stands for any byte but CR and LF. `name`
// follows the rule above.
std::optional<int> MatchesStoredFile(std::string_view name, std::string_view fileName);

}  // namespace Sentrel
