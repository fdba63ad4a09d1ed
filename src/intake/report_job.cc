// Copies the body through one small buffer into the file; it is never in memory as a whole.
#include "intake/report_job.h"

#include "intake/post_rules.h"
#include "platform/pellmar/exceptions.h"
#include "platform/pellmar/system/file.h"
#include "state/state_writer.h"

#include <cstddef>

namespace Sentrel {

namespace {

using Pellmar::Ref;
using Pellmar::Http::ResponseCode;
using Pellmar::Service::Logger;
using Pellmar::Service::LogInternal;

constexpr std::size_t kChunkSize = 512;
constexpr int kIncompleteBody = 0;

// Tells the state file what becomes of a post, also when an exception leaves the job.
struct PostOutcome {
    std::string_view name;
    int status = ResponseCode::InternalServerError.status;

    ~PostOutcome() {
        if (status == ResponseCode::Ok.status) {
            StateWriter::OfThisProcess().Count(StateCount::PostsStored);
        } else {
            StateWriter::OfThisProcess().SetRefused(name, status);
        }
    }
};

// Writes the body through `writer`. Returns the response's status.
ResponseCode ReceiveBody(Pellmar::Http::Request& request, Pellmar::System::FileWriter& writer,
                         PostOutcome& outcome, const Ref<Logger>& logger) {
    char buffer[kChunkSize];
    std::int32_t total = 0;
    for (;;) {
        outcome.status = kIncompleteBody;
        const int count = request.ReadBody(buffer, kChunkSize);
        outcome.status = ResponseCode::InternalServerError.status;
        if (count == -1) {
            LogInternal(logger, 7, "Read end of HTTP body");
            return ResponseCode::Ok;
        }
        total += count;
        if (total > kMaxReportSize) {
            LogInternal(logger, 3, "Report too large, truncating");
            return ResponseCode::RequestEntityTooLarge;
        }
        writer.Write(buffer, static_cast<std::size_t>(count));
    }
}

void Answer(Pellmar::Http::Response& response, const ResponseCode& status,
            const Ref<Logger>& logger) {
    response.SetStatus(status);
    try {
        response.Complete();
    } catch (const Pellmar::IOException& exception) {
        LogInternal(logger, 3, "Failed to write to response stream : %1", exception.what());
    }
}

}  // namespace

void WriteReport(Pellmar::Http::Request& request, Pellmar::Http::Response& response,
                 ReportRoller& roller, const Ref<Logger>& logger) {
    ResponseCode status = ResponseCode::InternalServerError;
    {
        PostOutcome outcome{ReportNameOf(request.GetUrl())};
        Ref<Pellmar::System::FileWriter> writer;
        Ref<Pellmar::System::File> file;
        if (!roller.OpenTemporaryReport(writer, file)) {
            LogInternal(logger, 3, "Creation of report failed");
            response.SetStatus(status);
            return;
        }
        status = ReceiveBody(request, *writer, outcome, logger);
        writer->Close();
        roller.Rotate(file);
        outcome.status = status.status;
    }
    Answer(response, status, logger);
}

}  // namespace Sentrel
