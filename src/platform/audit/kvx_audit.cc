// Composes the records, bounds their size and logs each record that is lost.
#include "platform/audit/kvx_audit.h"

#include "platform/audit/audit_file.h"
#include "platform/pellmar/log/logger.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>
#include <ctime>
#include <exception>
#include <string>

namespace {

using nlohmann::ordered_json;

constexpr std::string_view kEllipsis = "\u2026";
// The bound of each text in a log line, since a line longer than a pipe accepts at once may be
// dropped.
constexpr std::size_t kMaxLoggedBytes = 256;

// Never destroyed: threads may still write records while the process exits.
struct AuditLog {
    Audit::AuditFile file{Audit::kLogPath};
    const Pellmar::Ref<Pellmar::Service::Logger> logger = Pellmar::Service::Logger::CreateLogger(
        Pellmar::Service::Logger::sDefaultLogger, "KvxAudit");
};

AuditLog& SharedLog() {
    static auto& sLog = *new AuditLog;
    return sLog;
}

// The current time, such as "2024-05-01T12:00:00.123Z".
std::string TimeText() {
    timespec now{};
    (void)::clock_gettime(CLOCK_REALTIME, &now);  // cannot fail for this clock
    tm utc{};
    (void)::gmtime_r(&now.tv_sec, &utc);  // fails for years beyond an int only
    std::array<char, 32> seconds{};
    (void)std::strftime(seconds.data(), seconds.size(), "%Y-%m-%dT%H:%M:%S", &utc);
    std::array<char, 8> fraction{};
    (void)std::snprintf(fraction.data(), fraction.size(), ".%03dZ",
                        static_cast<int>(now.tv_nsec / 1'000'000 % 1000));
    return std::string(seconds.data()).append(fraction.data());
}

std::string Cut(std::string_view text, std::size_t maxBytes) {
    if (text.size() <= maxBytes) {
        return std::string(text);
    }
    const auto continuesCharacter = [](char byte) { return (byte & '\xC0') == '\x80'; };
    std::size_t end = maxBytes;
    while (end + 3 > maxBytes && continuesCharacter(text[end])) {
        --end;  // UTF-8 has at most three such bytes in a row
    }
    return std::string(text.substr(0, end)).append(kEllipsis);
}

ordered_json PairsOf(const KvxAuditPair* pairs) {
    ordered_json object = ordered_json::object();
    if (pairs == nullptr) {
        return object;
    }
    for (const auto* pair = pairs; !pair->key.empty() || !pair->value.empty(); ++pair) {
        if (static_cast<std::size_t>(pair - pairs) == Audit::kMaxPairs) {
            object[std::string(kEllipsis)] = kEllipsis;
            break;
        }
        object[Cut(pair->key, Audit::kMaxTextBytes)] = Cut(pair->value, Audit::kMaxTextBytes);
    }
    return object;
}

std::string RecordText(std::string_view eventID, std::string_view subject, std::string_view object,
                       bool success, const KvxAuditPair* pairs) {
    ordered_json record = ordered_json::object();
    record["time"] = TimeText();
    record["eventID"] = Cut(eventID, Audit::kMaxTextBytes);
    record["subject"] = Cut(subject, Audit::kMaxTextBytes);
    record["object"] = Cut(object, Audit::kMaxTextBytes);
    record["success"] = success;
    record["pairs"] = PairsOf(pairs);
    return record.dump(-1, ' ', /*ensure_ascii=*/true, ordered_json::error_handler_t::replace);
}

}  // namespace

void KvxAudit_LogList(std::string_view eventID, std::string_view subject, std::string_view object,
                      bool success, const KvxAuditPair* pairs) noexcept {
    AuditLog& log = SharedLog();
    try {
        log.file.Append(RecordText(eventID, subject, object, success, pairs));
    } catch (const std::exception& error) {
        Pellmar::Service::LogInternal(
            log.logger, 3, "Audit record of %1 for user \"%2\" (success: %3) is lost: %4",
            object.substr(0, kMaxLoggedBytes), subject.substr(0, kMaxLoggedBytes),
            success ? "true" : "false", error.what());
        return;
    }
    try {
        log.file.RotateWhenFull();
    } catch (const std::exception& error) {
        Pellmar::Service::LogInternal(log.logger, 3, "The audit log exceeds its size limit: %1",
                                      error.what());
    }
}
