// The HTTP service: accepts connections, gives their requests to one handler, bounds what they can
// hold. HTTP/1.1 with kept connections and pipelining, answers in order; bodies of known length
// only.
#pragma once

#include "platform/pellmar/http/http_message.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/pellmar/system/server_socket.h"

namespace Pellmar::Http {

class HttpService : public ObjectImpl {
  public:
    // Installs the one handler; before Start.
    virtual void SetHandler(const Ref<RequestHandler>& handler) = 0;
    // Begins to accept; the handler is called on threads of the framework's pool.
    virtual void Start() = 0;
    // Stops accepting, closes idle connections, and waits a short while for requests in work.
    // Idempotent.
    virtual void Stop() = 0;
};

// The service keeps `socket`, which listens already, and logs through `logger`.
Ref<HttpService> CreateHttpSvc(const Ref<System::ServerSocket>& socket,
                               const Ref<Service::Logger>& logger,
                               const HeaderDefinitions& headers);

}  // namespace Pellmar::Http
