// The host's audit log: one JSON object a line in /var/log/korvex/audit.jsonl, below the host root.
//
//   {"time":"2024-05-01T12:00:00.123Z","eventID":"api.call","subject":"alice",
//    "object":"com.korvex.oru.observability.reports:list","success":true,"pairs":{}}
//
// (on one line). Pure ASCII, everything else being escaped: whatever the texts hold, no program
// that splits lines and no terminal is misled by them.
#pragma once

#include <cstddef>
#include <string_view>

namespace Audit {

// A host path.
inline constexpr const char* kLogPath = "/var/log/korvex/audit.jsonl";

// How many full files are kept: kLogPath and ".1", the newest, to ".8".
inline constexpr int kKeptFiles = 8;

// Longer texts are cut and end in U+2026.
inline constexpr std::size_t kMaxTextBytes = 8192;
// Of more pairs only these are recorded, and a pair of U+2026 twice stands for the rest.
inline constexpr std::size_t kMaxPairs = 32;

}  // namespace Audit

struct KvxAuditPair {
    std::string_view key;
    std::string_view value;
};

// Appends one record. `pairs` is a list that ends with an empty pair (no key, no value), or null
// for none; of equal keys the last counts. Bytes that are not UTF-8 are recorded as U+FFFD. "time"
// is the time of the call. The file is made when it is missing and may be moved away at any time;
// see audit_file.h for its modes, its lines and how a full one is renamed.
//
// Any thread. Never throws: for a record that cannot be written a line at level 3 of the logger
// "KvxAudit" says what was lost, why, and what to do.
// NOLINTNEXTLINE(readability-identifier-naming): the name is the host's
void KvxAudit_LogList(std::string_view eventID, std::string_view subject, std::string_view object,
                      bool success, const KvxAuditPair* pairs) noexcept;
