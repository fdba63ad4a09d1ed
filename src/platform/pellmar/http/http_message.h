// Requests, responses, status codes and the handler interface of the HTTP service.
#pragma once

#include "platform/pellmar/object.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Pellmar::Http {

// A status with its reason text; copied freely.
struct ResponseCode {
    int status;
    const char* reason;

    static const ResponseCode Ok;                     // 200
    static const ResponseCode PartialContent;         // 206
    static const ResponseCode BadRequest;             // 400
    static const ResponseCode Forbidden;              // 403
    static const ResponseCode MethodNotAllowed;       // 405
    static const ResponseCode RequestTimeout;         // 408
    static const ResponseCode LengthRequired;         // 411
    static const ResponseCode RequestEntityTooLarge;  // 413
    static const ResponseCode HeaderFieldsTooLarge;   // 431
    static const ResponseCode InternalServerError;    // 500
};

// Header fields that every response carries, beside Content-Length, Connection and Date.
using HeaderDefinitions = std::vector<std::pair<std::string, std::string>>;
// Server and Cache-Control.
HeaderDefinitions GetDefaultResponseHeadersDefinitions();

// One request. The handler and one job after it use it, never at the same time.
class Request : public virtual Object {
  public:
    // The Content-Type value as sent, parameters included; empty when there is none.
    virtual const std::string& GetContentType() const = 0;
    // The path of the target without the query, not percent-decoded.
    virtual const std::string& GetUrl() const = 0;
    // False when the request has no length; 2^63-1 stands for all that is larger.
    virtual bool GetContentLength(std::int64_t& length) const = 0;
    // Reads up to `size` bytes of the body; -1 at its end. Waits for the client. Throws IOException
    // when the body ends early, stalls for 30 s, has not arrived whole 120 s after its first read,
    // or gives way to a post that waits.
    virtual int ReadBody(char* buffer, std::size_t size) = 0;
};

// The one response of a request. When it is released without having been sent, the status that was
// set is sent, or 500 when none was.
class Response : public virtual Object {
  public:
    // Answers at once with `code` and no body. A client that is gone is no error here.
    virtual void Reply(const ResponseCode& code) = 0;
    // Sets the status that Complete sends.
    virtual void SetStatus(const ResponseCode& code) = 0;
    // Sends the response. Throws IOException when it cannot be sent.
    virtual void Complete() = 0;
};

// Called on threads of the HTTP service, several at once. Whoever keeps request and response may
// answer after the call has returned. An exception that leaves a call is logged and answered with
// 500.
class RequestHandler : public virtual Object {
  public:
    virtual void HandleDelete(const Ref<Request>& request, const Ref<Response>& response) = 0;
    virtual void HandlePost(const Ref<Request>& request, const Ref<Response>& response) = 0;
    virtual void HandleHead(const Ref<Request>& request, const Ref<Response>& response) = 0;
    virtual void HandleGet(const Ref<Request>& request, const Ref<Response>& response) = 0;
    virtual void HandlePut(const Ref<Request>& request, const Ref<Response>& response) = 0;
};

// Answers every operation with 405 and "Allow: POST".
class RequestHandlerMixin : public virtual RequestHandler {
  public:
    void HandleDelete(const Ref<Request>& request, const Ref<Response>& response) override;
    void HandlePost(const Ref<Request>& request, const Ref<Response>& response) override;
    void HandleHead(const Ref<Request>& request, const Ref<Response>& response) override;
    void HandleGet(const Ref<Request>& request, const Ref<Response>& response) override;
    void HandlePut(const Ref<Request>& request, const Ref<Response>& response) override;
};

}  // namespace Pellmar::Http
