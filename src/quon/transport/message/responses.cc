#include "quon/transport/message/responses.h"

#include <cstdint>
#include <initializer_list>
#include <limits>
#include <utility>

namespace Quon::Transport::PicoHttp {

namespace {

using Protocol::Json::DocumentEnd;
using Protocol::Json::JsonApiDirectResponseSerializer;
using Protocol::Json::JsonApiResponseSerializer;
using Protocol::Json::ResponseDocument;

using HeadField = std::pair<std::string_view, std::string_view>;

// Leaves out fields without a value.
std::string BuildHead(std::string_view statusAndReason, std::optional<std::size_t> bodyLength,
                      std::initializer_list<HeadField> fields) {
    std::string head("HTTP/1.1 ");
    head.append(statusAndReason).append("\r\n");
    if (bodyLength) {
        head.append("Content-Length: ").append(std::to_string(*bodyLength)).append("\r\n");
    } else {
        head.append("Transfer-Encoding: chunked\r\n");
    }
    for (const auto& [name, value] : fields) {
        if (!value.empty()) {
            head.append(name).append(": ").append(value).append("\r\n");
        }
    }
    return head.append("Server: quon-PicoHttp\r\n\r\n");
}

// For documents that are known to be short.
std::string WholeText(ResponseDocument document) {
    std::string text;
    while (document.Next(text, std::numeric_limits<std::size_t>::max())) {
    }
    return text;
}

struct Rejection {
    std::string_view name;
    L10n::LocalizableMessage message;
};

Rejection WhyRejected(const RequestFacts& facts, std::size_t maxBodyBytes,
                      const L10n::Localizer& localizer) {
    if (facts.requestFormats == 0) {
        return {"invalid_content_type",
                localizer.Localize("quon.invalid.content.type", {facts.contentType})};
    }
    if (facts.contentLength.value_or(0) > maxBodyBytes) {
        return {"request_exceeds_max_size", localizer.Localize("quon.request.exceeds.max.size")};
    }
    return {"invalid_request", localizer.Localize("quon.invalid.request")};
}

bool IsBare(unsigned responseFormat) {
    return responseFormat == kCleanJson || responseFormat == kCleanStreamJson;
}

DocumentEnd EndOf(unsigned responseFormat) {
    const bool isStream = responseFormat == kStreamJson || responseFormat == kCleanStreamJson;
    return isStream ? DocumentEnd::LineFeed : DocumentEnd::Nothing;
}

}  // namespace

std::string BadRequestResponse(const std::error_code& error) {
    return "HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\nConnection: close\r\n"
           "Server: quon-PicoHttp\r\n\r\n" +
           error.message();
}

std::string RejectedResponse(const RequestFacts& facts, std::size_t maxBodyBytes,
                             const L10n::Localizer& localizer) {
    constexpr std::int64_t kStatus = 400;
    Rejection rejection = WhyRejected(facts, maxBodyBytes, localizer);
    Data::StructureValue structure{std::string(rejection.name)};
    structure.Add("code", Data::DataValue(kStatus));
    structure.Add("message", Data::DataValue(std::move(rejection.message.defaultMessage)));
    const std::string body = WholeText(JsonApiResponseSerializer::Error(
        "null", Data::ErrorValue(std::move(structure)), std::nullopt, DocumentEnd::Nothing));
    return BuildHead("400 Bad Request", body.size(),
                     {{"Content-Type", "text/plain"}, {"Connection", "close"}}) +
           body;
}

std::string ReaderErrorResponse(const RequestFacts& facts,
                                const Protocol::Json::JsonRequestError& error) {
    const std::string body =
        WholeText(ErrorDocument(facts.responseFormat, error.id, error.error, error.code));
    return OperationHead(facts, error.error.Name(), body.size()) + body;
}

std::string OperationHead(const RequestFacts& facts, std::string_view errorName,
                          std::optional<std::size_t> bodyLength) {
    return BuildHead("200 OK", bodyLength,
                     {{"Content-Type", MediaTypeName(facts.responseFormat)},
                      {"Connection", facts.keepAlive ? "Keep-Alive" : "close"},
                      {"quon-error", errorName}});
}

ResponseDocument ResultDocument(unsigned responseFormat, std::string_view id,
                                Data::DataValue value) {
    const DocumentEnd end = EndOf(responseFormat);
    return IsBare(responseFormat) ? JsonApiDirectResponseSerializer::Result(std::move(value), end)
                                  : JsonApiResponseSerializer::Result(id, std::move(value), end);
}

ResponseDocument ErrorDocument(unsigned responseFormat, std::string_view id,
                               const Data::ErrorValue& error, std::optional<int> readerCode) {
    const DocumentEnd end = EndOf(responseFormat);
    return IsBare(responseFormat) ? JsonApiDirectResponseSerializer::Error(error, end)
                                  : JsonApiResponseSerializer::Error(id, error, readerCode, end);
}

}  // namespace Quon::Transport::PicoHttp
