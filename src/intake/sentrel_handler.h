// The request handler of the intake: checks a post, finds the roller and queue of its report name,
// and queues the job that receives the report.
#pragma once

#include "platform/hostlib/exclusive_lock.h"
#include "platform/pellmar/http/http_message.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/pellmar/work/work_queue.h"
#include "store/report_roller.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Sentrel {

// POST to any path whose last segment is a report name stores the body as the newest report of that
// name; the framework answers other methods. Any thread.
class SentrelHandler : public Pellmar::Http::RequestHandlerMixin, public Pellmar::ObjectImpl {
  public:
    // `reportDirectory` ends in "/" or is empty; whether it is a directory is checked when a name
    // is first posted. Names beyond `maxNames` are refused.
    SentrelHandler(const std::string& reportDirectory, std::int32_t maxNames);

    // Exempts these names, and names that consist of one of them, "." and a suffix, from the bound.
    void ReserveNames(std::vector<std::string> names) EXCLUDES(lock);

    // Refuses a post at once with 400, 206, 411, 413 or 500 and logs why at level 3; otherwise
    // queues a job that responds, and returns.
    void HandlePost(const Pellmar::Ref<Pellmar::Http::Request>& request,
                    const Pellmar::Ref<Pellmar::Http::Response>& response) override;

  private:
    // The resources of a report name, kept from its first report until the process exits.
    struct Entry {
        Pellmar::Ref<ReportRoller> roller;
        Pellmar::Ref<Pellmar::System::WorkQueue> queue;
        std::size_t posts = 0;  // whose jobs are queued or running; guarded by the handler's lock
    };
    // Looks up a name in the URL without copying it to a string.
    struct NameHash {
        // NOLINTNEXTLINE(readability-identifier-naming): the standard library looks for this name
        using is_transparent = void;
        std::size_t operator()(std::string_view name) const {
            return std::hash<std::string_view>()(name);
        }
    };

    using Table = std::unordered_map<std::string, Entry, NameHash, std::equal_to<>>;
    // A name and its entry, which stay at their address while posts of the name are counted.
    using Name = Table::value_type;

    // Counts a post of the name. Returns null, which is logged, if the name or the report directory
    // is unusable.
    Name* BeginPost(std::string_view name) EXCLUDES(lock);
    Name* CreateEntry(std::string_view name) REQUIRES(lock);
    bool IsReserved(std::string_view name) const REQUIRES(lock);
    // Ends a post. The last one of a name without any file removes its entry.
    void EndPost(Name& name) EXCLUDES(lock);
    struct PostEnd {
        SentrelHandler& handler;
        Name& name;
        ~PostEnd() { handler.EndPost(name); }
    };

    Table reportEntries GUARDED_BY(lock);
    std::vector<std::string> reservedNames GUARDED_BY(lock);
    Hostlib::ExclusiveLock lock{"sentrel-handler-excl-lock"};
    const Pellmar::Ref<Pellmar::Service::Logger> logger;
    const std::string reportDirectory;
    const std::int32_t maxNames;
};

}  // namespace Sentrel
