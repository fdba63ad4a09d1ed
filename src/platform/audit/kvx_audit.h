// The host's audit log: one JSON object per line in /var/log/korvex/audit.jsonl, below the host
// root.
//
//   {"time":"2024-05-01T12:00:00.123Z","eventID":"api.call","subject":"alice",
//    "object":"com.korvex.oru.observability.reports:list","success":true,"pairs":{}}
//
// (on one line). The file is pure ASCII, everything else being escaped, so no text in a record can
// mislead a terminal or a program that splits lines.
#pragma once

#include <cstddef>
#include <string_view>

namespace Audit {

// A host path.
inline constexpr const char* kLogPath = "/var/log/korvex/audit.jsonl";

// How many full files are kept, from ".1", the newest, to ".8".
inline constexpr int kKeptFiles = 8;

// Longer texts are cut and end in U+2026.
inline constexpr std::size_t kMaxTextBytes = 8192;
// Only this many pairs are recorded; a further pair, U+2026 as key and value, stands for the rest.
inline constexpr std::size_t kMaxPairs = 32;

}  // namespace Audit

struct KvxAuditPair {
    std::string_view key;
    std::string_view value;
};

// Appends one record. `pairs` is a list that ends with an empty pair (no key, no value), or null;
// among equal keys the last one counts. Bytes that are not UTF-8 are recorded as U+FFFD. "time" is
// the time of the call. See audit_file.h for the file's mode, lines and rotation.
//
// Any thread. Never throws: when a record cannot be written, the logger "KvxAudit" logs at level 3
// what was lost, why, and what to do.
// NOLINTNEXTLINE(readability-identifier-naming): the name is the host's
void KvxAudit_LogList(std::string_view eventID, std::string_view subject, std::string_view object,
                      bool success, const KvxAuditPair* pairs) noexcept;
