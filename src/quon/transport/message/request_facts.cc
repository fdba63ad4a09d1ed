#include "quon/transport/message/request_facts.h"

#include "platform/http1/origin.h"
#include "quon/transport/message/transport_error.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Quon::Transport::PicoHttp {

namespace {

using Http1::EqualsIgnoringCase;
using Http1::LengthKind;
using Http1::RequestHead;

struct MediaType {
    unsigned bit;
    std::string_view name;
};

constexpr std::array kMediaTypes{
    MediaType{kJson, "application/json"},
    MediaType{kCleanJson, "application/vnd.korvex.quon.cleanjson"},
    MediaType{kFramed, "application/vnd.korvex.quon.framed"},
    MediaType{kFramedCleanJson, "application/vnd.korvex.quon.cframed.cleanjson"},
    MediaType{kStreamJson, "application/vnd.korvex.quon.stream.json"},
    MediaType{kCleanStreamJson, "application/vnd.korvex.quon.clean.stream.json"}};

constexpr std::string_view kAuthorization = "authorization";
// Fields that contain credentials, including those in which a token may be sent by mistake.
constexpr std::array<std::string_view, 3> kCredentialFields{kAuthorization, "proxy-authorization",
                                                            "cookie"};

bool Contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

bool ContainsIgnoringCase(std::string_view text, std::string_view part) {
    for (; text.size() >= part.size(); text.remove_prefix(1)) {
        if (EqualsIgnoringCase(text.substr(0, part.size()), part)) {
            return true;
        }
    }
    return false;
}

// The values of all fields with that name as one list (RFC 9110 section 5.3).
std::optional<std::string> JoinedValue(const RequestHead& head, std::string_view name) {
    std::optional<std::string> joined;
    for (const Http1::HeaderField& field : head) {
        if (EqualsIgnoringCase(field.name, name)) {
            joined = joined ? *joined + ", " : std::string();
            joined->append(field.value);
        }
    }
    return joined;
}

// A list such as "5, 5" is not a number here, though RFC 9110 section 8.6 allows reading it as 5.
bool ListsLengths(const RequestHead& head) {
    return std::any_of(head.begin(), head.end(), [](const Http1::HeaderField& field) {
        return EqualsIgnoringCase(field.name, "content-length") && Contains(field.value, ",");
    });
}

bool HasNoBody(std::string_view method) {
    constexpr std::array<std::string_view, 5> kMethods{"get", "head", "connect", "options",
                                                       "trace"};
    return std::any_of(kMethods.begin(), kMethods.end(), [method](std::string_view bodiless) {
        return EqualsIgnoringCase(method, bodiless);
    });
}

bool CarriesCredentials(std::string_view name) {
    return std::any_of(kCredentialFields.begin(), kCredentialFields.end(),
                       [name](std::string_view field) { return EqualsIgnoringCase(name, field); });
}

// Determines the framing of the body. If another reader could see the request end elsewhere, the
// connection is closed after it.
void SettleBody(const RequestHead& head, RequestFacts& facts) {
    const auto coding = JoinedValue(head, "transfer-encoding");
    const bool hasNoBody = HasNoBody(head.Method());
    facts.bodyIsChunked = !hasNoBody && coding && ContainsIgnoringCase(*coding, "chunked");
    if (!hasNoBody && !facts.bodyIsChunked) {
        facts.bodyLength = facts.contentLength.value_or(0);
    }
    const bool bodyIsLeft = hasNoBody && facts.contentLength.value_or(0) > 0;
    const bool codingIsUnclear =
        coding && (!facts.bodyIsChunked || !EqualsIgnoringCase(*coding, "chunked") ||
                   facts.contentLength || head.MinorVersion() == 0);
    if (bodyIsLeft || codingIsUnclear) {
        facts.keepAlive = false;
    }
}

unsigned ChooseResponseFormat(std::string_view accept) {
    const unsigned bits = MediaTypeBits(accept);
    for (const unsigned format : {kCleanStreamJson, kStreamJson, kCleanJson}) {
        if ((bits & format) != 0) {
            return format;
        }
    }
    return kJson;
}

// RFC 6750 section 2.1.
std::optional<std::string> ReadToken(const RequestHead& head) {
    constexpr std::string_view kScheme = "bearer ";
    const std::size_t count = head.Count(kAuthorization);
    if (count == 0) {
        return std::nullopt;
    }
    std::string_view value = *head.Find(kAuthorization);
    if (count > 1 || !EqualsIgnoringCase(value.substr(0, kScheme.size()), kScheme)) {
        return std::string();
    }
    value.remove_prefix(std::min(value.find_first_not_of(' ', kScheme.size()), value.size()));
    const bool isOneWord = std::none_of(value.begin(), value.end(), [](char byte) {
        return byte == ' ' || byte == '\t' || byte == ',';
    });
    return std::string(isOneWord ? value : std::string_view());
}

}  // namespace

unsigned MediaTypeBits(std::string_view value) {
    unsigned bits = 0;
    for (const MediaType& type : kMediaTypes) {
        if (Contains(value, type.name)) {
            bits |= type.bit;
        }
    }
    return bits;
}

std::string_view MediaTypeName(unsigned bit) {
    const auto type = std::find_if(kMediaTypes.begin(), kMediaTypes.end(),
                                   [bit](const MediaType& entry) { return entry.bit == bit; });
    return type->name;
}

std::error_code ReadRequestFacts(const RequestHead& head, RequestFacts& facts) {
    const Http1::ContentLength length = Http1::ReadContentLength(head);
    if (length.kind == LengthKind::Invalid || length.kind == LengthKind::Ambiguous ||
        length.beyond64Bits || ListsLengths(head)) {
        return TransportError::InvalidRequest;
    }
    if (length.kind != LengthKind::Absent) {
        facts.contentLength = length.value;
    }
    facts.keepAlive =
        !ContainsIgnoringCase(JoinedValue(head, "connection").value_or(std::string()), "close");
    facts.hasForeignOrigin = Http1::HasForeignOrigin(head);
    SettleBody(head, facts);
    if (const auto expect = JoinedValue(head, "expect")) {
        facts.expectation = EqualsIgnoringCase(*expect, "100-continue") ? Expectation::Continue
                                                                        : Expectation::Unknown;
    }
    facts.contentType = JoinedValue(head, "content-type").value_or(std::string());
    facts.requestFormats = MediaTypeBits(facts.contentType);
    facts.responseFormat =
        ChooseResponseFormat(JoinedValue(head, "accept").value_or(std::string()));
    facts.token = ReadToken(head);
    return {};
}

std::string LoggableHead(const RequestHead& head) {
    std::string text;
    text.append(head.Method()).append(" ").append(head.Target());
    text.append(head.MinorVersion() == 1 ? " HTTP/1.1\r\n" : " HTTP/1.0\r\n");
    for (const Http1::HeaderField& field : head) {
        text.append(field.name).append(": ");
        if (CarriesCredentials(field.name)) {
            text.append(std::to_string(field.value.size()));
        } else {
            text.append(field.value);
        }
        text.append("\r\n");
    }
    return text;
}

}  // namespace Quon::Transport::PicoHttp
