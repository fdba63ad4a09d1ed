// Passes every request to one handler, whatever its method and path.
#include "intake/endpoint.h"

#include "core/settings/settings.h"
#include "platform/pellmar/system/server_socket.h"
#include "platform/pellmar/system/system_factory.h"

#include <cstdint>
#include <utility>

namespace Sentrel {

using Pellmar::Ref;
using Pellmar::Service::Logger;
using Pellmar::Service::LogInternal;

Endpoint::Endpoint() : logger(Logger::CreateLogger(Logger::sDefaultLogger, "sentrelEndpoint")) {
    LogInternal(logger, 5, "Initialized the HTTP endpoint");
}

Endpoint::~Endpoint() {
    if (httpService) {
        httpService->Stop();
    }
}

void Endpoint::Start(const Ref<Pellmar::Service::ConfigReader>& configReader,
                     const std::string& reportDirectory) {
    const std::int32_t port = GetHttpPort(configReader, logger);
    LogInternal(logger, 7, "HTTP port: %1", port);
    const Ref<Pellmar::System::ServerSocket> socket =
        Pellmar::System::SystemFactory::CreateServerSocket();
    // By name, so that it binds every loopback address of the host and no other.
    socket->BindAndListen("localhost", port);
    handler =
        Pellmar::MakeRef<SentrelHandler>(reportDirectory, GetMaxReportNames(configReader, logger));
    httpService = Pellmar::Http::CreateHttpSvc(
        socket, logger, Pellmar::Http::GetDefaultResponseHeadersDefinitions());
    httpService->SetHandler(handler);
    httpService->Start();
    LogInternal(logger, 5, "HTTP endpoint listening on port: %1", port);
}

void Endpoint::ReserveNames(std::vector<std::string> pluginNames) {
    handler->ReserveNames(std::move(pluginNames));
}

}  // namespace Sentrel
