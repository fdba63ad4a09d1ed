// The HTTP service: accepts connections, passes their requests to one handler, and bounds their
// resources. Supports HTTP/1.1 with persistent connections and pipelining; bodies need a known
// length.
#pragma once

#include "platform/pellmar/http/http_message.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/pellmar/system/server_socket.h"

namespace Pellmar::Http {

class HttpService : public ObjectImpl {
  public:
    // Sets the handler. Call it before Start.
    virtual void SetHandler(const Ref<RequestHandler>& handler) = 0;
    // Starts to accept; calls the handler on threads of the framework's pool.
    virtual void Start() = 0;
    // Stops accepting, closes idle connections, and waits briefly for running requests. Idempotent.
    virtual void Stop() = 0;
};

// Creates a service that owns `socket`, which already listens, and logs through `logger`.
Ref<HttpService> CreateHttpSvc(const Ref<System::ServerSocket>& socket,
                               const Ref<Service::Logger>& logger,
                               const HeaderDefinitions& headers);

}  // namespace Pellmar::Http
