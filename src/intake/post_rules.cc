#include "intake/post_rules.h"

#include "intake/report_job.h"

#include <cstdint>
#include <string>

namespace Sentrel {

using Pellmar::Http::ResponseCode;
using Pellmar::Service::LogEvent;
using Pellmar::Service::LogFields;
using Pellmar::Service::LogInternal;

namespace {

constexpr std::string_view kReportContentType = "application/json";

}  // namespace

std::optional<ResponseCode> FindRefusal(const Pellmar::Http::Request& request,
                                        const Pellmar::Ref<Pellmar::Service::Logger>& logger) {
    const std::string& url = request.GetUrl();
    const LogFields fields{.report = ReportNameOf(url), .event = LogEvent::Refusal};
    const std::string& contentType = request.GetContentType();
    if (contentType != kReportContentType) {
        LogInternal(logger, 3, fields, "Unsupported content type received %1", contentType);
        return ResponseCode::BadRequest;
    }
    if (url.empty() || url == "/") {
        LogInternal(logger, 3, fields, "URL does not contain report name");
        return ResponseCode::PartialContent;
    }
    std::int64_t length = 0;
    if (!request.GetContentLength(length)) {
        LogInternal(logger, 3, fields, "Report length header required");
        return ResponseCode::LengthRequired;
    }
    if (length > kMaxReportSize) {
        LogInternal(logger, 3, fields, "Report too large: %1", length);
        return ResponseCode::RequestEntityTooLarge;
    }
    return std::nullopt;
}

std::string_view ReportNameOf(std::string_view url) {
    const std::size_t slash = url.rfind('/');
    return slash == std::string_view::npos ? url : url.substr(slash + 1);
}

}  // namespace Sentrel
