// The request handler of the report intake: checks a post, finds what belongs to its report name,
// and queues the job that receives the report. The body is the job's business.
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

// POST to any path whose last segment is the report name stores the body as the newest report of
// that name; other methods are the framework's to answer. Any thread may call.
class SentrelHandler : public Pellmar::Http::RequestHandlerMixin, public Pellmar::ObjectImpl {
  public:
    // `reportDirectory` ends in "/", or is empty; that it is a directory is looked at when a name
    // is first posted. Beyond `maxNames` names a new one is refused.
    SentrelHandler(const std::string& reportDirectory, std::int32_t maxNames);

    // From now on the bound refuses none of these names, and none that begins with one and a ".".
    void ReserveNames(std::vector<std::string> names) EXCLUDES(lock);

    // Answers at once with 400, 206, 411, 413 or 500 when the request is refused, each with one
    // level-3 line; else queues a job that answers, and returns.
    void HandlePost(const Pellmar::Ref<Pellmar::Http::Request>& request,
                    const Pellmar::Ref<Pellmar::Http::Response>& response) override;

  private:
    // What one report name has for the life of the daemon, from its first report on.
    struct Entry {
        Pellmar::Ref<ReportRoller> roller;
        Pellmar::Ref<Pellmar::System::WorkQueue> queue;
        std::size_t posts = 0;  // whose jobs are queued or run; under the handler's lock
    };
    // Lets a name be looked up as it stands in the URL, without a string made of it.
    struct NameHash {
        // NOLINTNEXTLINE(readability-identifier-naming): the standard library looks for this name
        using is_transparent = void;
        std::size_t operator()(std::string_view name) const {
            return std::hash<std::string_view>()(name);
        }
    };

    using Table = std::unordered_map<std::string, Entry, NameHash, std::equal_to<>>;
    // One name and its entry, which stay where they are while a post is counted.
    using Name = Table::value_type;

    // Counts a post of the name. Null, which is logged, when the name or the report directory
    // cannot be used.
    Name* BeginPost(std::string_view name) EXCLUDES(lock);
    Name* CreateEntry(std::string_view name) REQUIRES(lock);
    bool IsReserved(std::string_view name) const REQUIRES(lock);
    // The job of a post is over. The last one of a name without any file takes its entry along.
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
