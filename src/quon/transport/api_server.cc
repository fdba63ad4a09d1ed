#include "quon/transport/api_server.h"

#include "quon/transport/connection_table.h"
#include "quon/transport/listener.h"

#include <utility>

namespace Quon::Transport::PicoHttp {

AsioTcpApiServer::AsioTcpApiServer(boost::asio::io_context& context,
                                   std::shared_ptr<AsyncApiProvider> provider,
                                   std::shared_ptr<Logger> logger,
                                   ServerConfiguration configuration)
    : services(std::make_shared<const ConnectionServices>(
          ConnectionServices{std::move(provider), std::move(logger), std::move(configuration)})),
      connections(std::make_shared<ConnectionTable>(context, services)),
      listener4(std::make_shared<Listener>(context, services->logger,
                                           services->configuration.limits, connections)),
      listener6(std::make_shared<Listener>(context, services->logger,
                                           services->configuration.limits, connections)) {}

AsioTcpApiServer::~AsioTcpApiServer() {
    listener4->Close();
    listener6->Close();
    connections->CloseAll();
}

bool AsioTcpApiServer::Start() {
    const bool listens4 = listener4->Start(AddressFamily::V4, services->configuration.endpoint4);
    const bool listens6 = listener6->Start(AddressFamily::V6, services->configuration.endpoint6);
    return listens4 || listens6;
}

}  // namespace Quon::Transport::PicoHttp
