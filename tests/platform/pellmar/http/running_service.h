// A running HTTP service, with times that are cut short.
#pragma once

#include "platform/pellmar/http/http_service.h"
#include "platform/pellmar/http/http_service_impl.h"
#include "platform/pellmar/system/system_factory.h"
#include "support/http_client.h"
#include "support/network_namespace.h"

#include <cstddef>
#include <functional>
#include <string>
#include <utility>

#include <sys/socket.h>

namespace HttpTest {

using Pellmar::MakeRef;
using Pellmar::Ref;
using Pellmar::Http::HttpService;
using Pellmar::Http::HttpTimes;
using Pellmar::Http::Request;
using Pellmar::Http::Response;
using Pellmar::Http::ResponseCode;
using Pellmar::Service::Logger;

using PostHandler = std::function<void(const Ref<Request>&, const Ref<Response>&)>;

class Handler : public Pellmar::Http::RequestHandlerMixin, public Pellmar::ObjectImpl {
  public:
    explicit Handler(PostHandler onPost) : onPost(std::move(onPost)) {}
    void HandlePost(const Ref<Request>& request, const Ref<Response>& response) override {
        onPost(request, response);
    }

  private:
    const PostHandler onPost;
};

inline std::string ReadWholeBody(const Ref<Request>& request) {
    std::string body;
    char chunk[7];
    for (int count = 0; (count = request->ReadBody(chunk, sizeof(chunk))) >= 0;) {
        body.append(chunk, static_cast<std::size_t>(count));
    }
    return body;
}

inline void ReadAndAnswer(const Ref<Request>& request, const Ref<Response>& response) {
    (void)ReadWholeBody(request);
    response->SetStatus(ResponseCode::Ok);
    response->Complete();
}

class RunningService {
  public:
    explicit RunningService(PostHandler onPost, const HttpTimes& times = {}) {
        Test::EnterNetworkNamespace();
        const auto socket = Pellmar::System::SystemFactory::CreateServerSocket();
        socket->BindAndListen("127.0.0.1", Test::kIntakePort);
        const int least = 1;  // so that few answers fill what a client does not read; inherited
        for (const int listener : socket->GetDescriptors()) {
            (void)::setsockopt(listener, SOL_SOCKET, SO_SNDBUF, &least, sizeof(least));
        }
        service = CreateHttpSvc(socket, Logger::CreateLogger(Logger::sDefaultLogger, "Http"),
                                Pellmar::Http::GetDefaultResponseHeadersDefinitions(), times);
        service->SetHandler(MakeRef<Handler>(std::move(onPost)));
        service->Start();
    }
    ~RunningService() { service->Stop(); }
    RunningService(const RunningService&) = delete;
    RunningService& operator=(const RunningService&) = delete;

    void Stop() { service->Stop(); }

  private:
    Ref<HttpService> service;
};

inline constexpr const char* kUnfinishedPost =
    "POST /cpu HTTP/1.1\r\nContent-Length: 10\r\n\r\nabc";
inline constexpr const char* kEmptyPost = "POST /cpu HTTP/1.1\r\nContent-Length: 0\r\n\r\n";

}  // namespace HttpTest
