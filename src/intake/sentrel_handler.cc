#include "intake/sentrel_handler.h"

#include "intake/post_rules.h"
#include "intake/report_job.h"
#include "platform/pellmar/exceptions.h"
#include "platform/pellmar/work/thread_pool.h"
#include "store/report_name.h"

#include <cstdint>
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

SentrelHandler::SentrelHandler(const std::string& reportDirectory)
    : logger(Logger::CreateLogger(Logger::sDefaultLogger, "SentrelHandler")),
      reportDirectory(reportDirectory) {
    LogInternal(logger, 5, "Sentrel handler initialized");
}

void SentrelHandler::HandlePost(const Ref<Request>& request, const Ref<Response>& response) {
    if (const std::optional<ResponseCode> refusal = FindRefusal(*request, logger)) {
        response->Reply(*refusal);
        return;
    }
    const std::string& url = request->GetUrl();
    const std::string_view name = ReportNameOf(url);
    LogInternal(logger, 6, {.report = name}, "Report Name: %1", url);
    if (logger->GetLevel() >= kReportPathLevel) {
        LogInternal(logger, kReportPathLevel, {.report = name}, "Report Path: %1",
                    std::string(reportDirectory).append(name));
    }
    std::optional<Entry> entry = FindOrCreateEntry(name);
    if (!entry) {
        // Without the lock: a client that does not read its answer holds up nobody else.
        response->Reply(ResponseCode::InternalServerError);
        return;
    }
    entry->queue->Submit([handler = Ref<SentrelHandler>(this), request, response,
                          roller = std::move(entry->roller)] {
        WriteReport(*request, *response, *roller, handler->logger);
    });
}

std::optional<SentrelHandler::Entry> SentrelHandler::FindOrCreateEntry(std::string_view name) {
    const Hostlib::ExclusiveLockGuard guard(lock);
    const auto found = reportEntries.find(name);
    if (found == reportEntries.end()) {
        return CreateEntry(name);
    }
    LogInternal(logger, 7, "Retrieved report rotation and workqueue object for report name: %1",
                name);
    return found->second;
}

// Asks the file system about the report directory under the lock: once a name, and so that two
// first posts of a name cannot make two rollers.
std::optional<SentrelHandler::Entry> SentrelHandler::CreateEntry(std::string_view name) {
    Entry entry;
    try {
        entry.roller = Pellmar::MakeRef<ReportRoller>(reportDirectory, name, kFilesPerName, logger);
    } catch (const Pellmar::Exception& exception) {
        LogInternal(logger, 3, {.report = name, .event = LogEvent::Refusal},
                    "Error opening directory %1: %2", reportDirectory, exception.what());
        return std::nullopt;
    }
    entry.queue =
        Pellmar::System::GetThreadPool().CreateWorkQueue(std::string("work-queue-").append(name));
    reportEntries.emplace(name, entry);
    LogInternal(logger, 7, "Created report rotation and workqueue object for report name: %1",
                name);
    return entry;
}

}  // namespace Sentrel
