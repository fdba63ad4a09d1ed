// The HTTP service's requests, responses, status codes and handler interface.
#pragma once

#include "platform/pellmar/object.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Pellmar::Http {

// A status with its reason phrase; cheap to copy.
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

// Header fields of every response, in addition to Content-Length, Connection and Date.
using HeaderDefinitions = std::vector<std::pair<std::string, std::string>>;
// Server and Cache-Control.
HeaderDefinitions GetDefaultResponseHeadersDefinitions();

// A request. The handler and then one job use it, never at the same time.
class Request : public virtual Object {
  public:
    // The Content-Type value as sent, including parameters; empty if absent.
    virtual const std::string& GetContentType() const = 0;
    // The target's path without the query, not percent-decoded.
    virtual const std::string& GetUrl() const = 0;
    // Returns false if the request has no length; larger lengths are reported as 2^63-1.
    virtual bool GetContentLength(std::int64_t& length) const = 0;
    // Reads up to `size` bytes of the body, waiting for the client; returns -1 at its end. Throws
    // IOException when the body ends early, stalls for 30 s, is incomplete 120 s after the first
    // read, or gives way to a waiting post.
    virtual int ReadBody(char* buffer, std::size_t size) = 0;
};

// The response of a request. If it is released unsent, the status that was set is sent, or 500 if
// none was.
class Response : public virtual Object {
  public:
    // Sends `code` without a body at once. Ignores that a client is gone.
    virtual void Reply(const ResponseCode& code) = 0;
    // Sets the status that Complete sends.
    virtual void SetStatus(const ResponseCode& code) = 0;
    // Sends the response. Throws IOException if it cannot be sent.
    virtual void Complete() = 0;
};

// Handles requests on threads of the HTTP service, several at once. A handler may keep request and
// response and respond after the call. An exception from a call is logged and answered with 500.
class RequestHandler : public virtual Object {
  public:
    virtual void HandleDelete(const Ref<Request>& request, const Ref<Response>& response) = 0;
    virtual void HandlePost(const Ref<Request>& request, const Ref<Response>& response) = 0;
    virtual void HandleHead(const Ref<Request>& request, const Ref<Response>& response) = 0;
    virtual void HandleGet(const Ref<Request>& request, const Ref<Response>& response) = 0;
    virtual void HandlePut(const Ref<Request>& request, const Ref<Response>& response) = 0;
};

// Responds to every operation with 405 and "Allow: POST".
class RequestHandlerMixin : public virtual RequestHandler {
  public:
    void HandleDelete(const Ref<Request>& request, const Ref<Response>& response) override;
    void HandlePost(const Ref<Request>& request, const Ref<Response>& response) override;
    void HandleHead(const Ref<Request>& request, const Ref<Response>& response) override;
    void HandleGet(const Ref<Request>& request, const Ref<Response>& response) override;
    void HandlePut(const Ref<Request>& request, const Ref<Response>& response) override;
};

}  // namespace Pellmar::Http
