#include "quon/endpoint/audit_callback.h"

#include "platform/audit/kvx_audit.h"
#include "state/state_writer.h"

#include <vector>

namespace Sentrel::HealthApi {

namespace {

// Removes the value from the record and returns it.
std::string Take(std::map<std::string, std::string>& record, const char* key) {
    auto node = record.extract(key);
    return node.empty() ? std::string() : std::move(node.mapped());
}

}  // namespace

void AuditCall(std::map<std::string, std::string> record, bool success) {
    StateWriter::OfThisProcess().Count(success ? StateCount::CallsSucceeded
                                               : StateCount::CallsFailed);
    const std::string eventID = Take(record, "eventID");
    const std::string subject = Take(record, "subject");
    const std::string object = Take(record, "object");
    std::vector<KvxAuditPair> pairs;
    pairs.reserve(record.size() + 1);
    for (const auto& [key, value] : record) {
        pairs.push_back({key, value});
    }
    pairs.push_back({});
    KvxAudit_LogList(eventID, subject, object, success, pairs.data());
}

}  // namespace Sentrel::HealthApi
