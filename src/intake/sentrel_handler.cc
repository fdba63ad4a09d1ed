#include "intake/sentrel_handler.h"

#include "intake/post_rules.h"
#include "intake/report_job.h"
#include "platform/pellmar/exceptions.h"
#include "platform/pellmar/work/thread_pool.h"
#include "state/state_writer.h"
#include "store/report_name.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace Sentrel {

namespace {

using Pellmar::Ref;
using Pellmar::Http::Request;
using Pellmar::Http::Response;
using Pellmar::Http::ResponseCode;
using Pellmar::Service::LogEvent;
using Pellmar::Service::Logger;
using Pellmar::Service::LogInternal;

constexpr int kReportPathLevel = 5;

}  // namespace

SentrelHandler::SentrelHandler(const std::string& reportDirectory, std::int32_t maxNames)
    : logger(Logger::CreateLogger(Logger::sDefaultLogger, "SentrelHandler")),
      reportDirectory(reportDirectory),
      maxNames(maxNames) {
    LogInternal(logger, 5, "Sentrel handler initialized");
}

void SentrelHandler::HandlePost(const Ref<Request>& request, const Ref<Response>& response) {
    const std::string& url = request->GetUrl();
    const std::string_view name = ReportNameOf(url);
    if (const std::optional<ResponseCode> refusal = FindRefusal(*request, logger)) {
        StateWriter::OfThisProcess().SetRefused(name, refusal->status);
        response->Reply(*refusal);
        return;
    }
    LogInternal(logger, 6, {.report = name}, "Report Name: %1", url);
    if (logger->GetLevel() >= kReportPathLevel) {
        LogInternal(logger, kReportPathLevel, {.report = name}, "Report Path: %1",
                    std::string(reportDirectory).append(name));
    }
    Name* const entry = BeginPost(name);
    if (entry == nullptr) {
        StateWriter::OfThisProcess().SetRefused(name, ResponseCode::InternalServerError.status);
        // Without the lock: a client that does not read its response delays nobody else.
        response->Reply(ResponseCode::InternalServerError);
        return;
    }
    entry->second.queue->Submit([handler = Ref<SentrelHandler>(this), request, response, entry] {
        const PostEnd end{*handler, *entry};
        WriteReport(*request, *response, *entry->second.roller, handler->logger);
    });
}

void SentrelHandler::ReserveNames(std::vector<std::string> names) {
    const Hostlib::ExclusiveLockGuard guard(lock);
    reservedNames = std::move(names);
}

SentrelHandler::Name* SentrelHandler::BeginPost(std::string_view name) {
    const Hostlib::ExclusiveLockGuard guard(lock);
    const auto found = reportEntries.find(name);
    Name* const entry = found == reportEntries.end() ? CreateEntry(name) : &*found;
    if (found != reportEntries.end()) {
        LogInternal(logger, 7, "Retrieved report rotation and workqueue object for report name: %1",
                    name);
    }
    if (entry != nullptr) {
        ++entry->second.posts;
    }
    return entry;
}

// Checks the report directory under the lock: once for each name, and so that two concurrent first
// posts of a name do not create two rollers.
SentrelHandler::Name* SentrelHandler::CreateEntry(std::string_view name) {
    Entry entry;
    try {
        entry.roller = Pellmar::MakeRef<ReportRoller>(reportDirectory, name, kFilesPerName, logger);
        if (reportEntries.size() >= static_cast<std::size_t>(maxNames) && !IsReserved(name)) {
            throw Pellmar::Exception("all " + std::to_string(maxNames) +
                                     " report names are in use; raise max_report_names");
        }
    } catch (const Pellmar::Exception& exception) {
        LogInternal(logger, 3, {.report = name, .event = LogEvent::Refusal},
                    "Error opening directory %1: %2", reportDirectory, exception.what());
        return nullptr;
    }
    entry.queue =
        Pellmar::System::GetThreadPool().CreateWorkQueue(std::string("work-queue-").append(name));
    Name& created = *reportEntries.emplace(name, std::move(entry)).first;
    StateWriter::OfThisProcess().SetNames(reportEntries.size());
    LogInternal(logger, 7, "Created report rotation and workqueue object for report name: %1",
                name);
    return &created;
}

bool SentrelHandler::IsReserved(std::string_view name) const {
    return std::any_of(reservedNames.begin(), reservedNames.end(), [name](const auto& reserved) {
        return name.starts_with(reserved) &&
               (name.size() == reserved.size() || name[reserved.size()] == '.');
    });
}

void SentrelHandler::EndPost(Name& name) {
    const Hostlib::ExclusiveLockGuard guard(lock);
    Entry& entry = name.second;
    if (--entry.posts == 0 && !entry.roller->HasFiles()) {
        reportEntries.erase(reportEntries.find(name.first));
        StateWriter::OfThisProcess().SetNames(reportEntries.size());
    }
}

}  // namespace Sentrel
