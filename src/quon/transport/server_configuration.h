// The configuration of the API server.
#pragma once

#include "platform/runtime/values/localizer.h"
#include "quon/transport/message/limits.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace Quon::Transport::PicoHttp {

struct ListenEndpoint {
    std::string address;     // numeric, such as "127.0.0.1" or "::1"
    std::uint16_t port = 0;  // 0: chosen by the kernel
};

struct ServerConfiguration {
    ListenEndpoint endpoint4{};
    ListenEndpoint endpoint6{};
    // For a client to send a head, counted from its first byte, or a body, and for an idle
    // connection.
    std::chrono::nanoseconds readTimeout = std::chrono::minutes(20);
    // For a client to receive one piece of a response.
    std::chrono::nanoseconds writeTimeout = std::chrono::minutes(30);
    std::size_t httpBodySizeLimitInBytes = 2'500'000;
    // The maximum size of a request document.
    std::size_t requestSizeLimitInBytes = 2'500'000;
    L10n::Localizer localizer{{"en_US"}};
    ServerLimits limits{};
};

}  // namespace Quon::Transport::PicoHttp
