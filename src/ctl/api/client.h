// The reports API as the tool calls it: one JSON-RPC request over HTTP, its result or a failure
// worded for a person.
#pragma once

#include "ctl/host/host.h"
#include "ctl/show/failure.h"

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <string>
#include <string_view>

namespace Ctl {

// The API answered with an error.
class ApiError : public Failure {
  public:
    ApiError(std::string name, const std::string& happened, const std::string& advice)
        : Failure(happened, advice), name(std::move(name)) {}

    // Such as "com.korvex.quon.std.errors.not_found"; empty when the answer names none.
    const std::string& Name() const { return name; }

  private:
    std::string name;
};

class ApiClient {
  public:
    // `url` is "http://HOST[:PORT]", HOST a name or an address, of IPv6 in brackets. An empty token
    // sends none. Each call may take `timeout`. Throws Failure when the URL is invalid.
    ApiClient(const std::string& url, std::string token,
              std::chrono::milliseconds timeout = std::chrono::minutes(10));

    bool IsOnLoopback() const;
    bool HasToken() const { return !token.empty(); }

    // The result of `method`. Throws ApiError when the API refuses or fails, UntrustedListener when
    // another user's program listens there, and Failure when the API cannot be reached (ETIMEDOUT:
    // in time) or answers with anything else.
    nlohmann::ordered_json Call(std::string_view method,
                                const nlohmann::ordered_json& parameters) const;

  private:
    std::string Exchange(std::string document) const;
    // ": " and who else holds the port, when that is seen on this host.
    std::string StrangersName() const;

    std::string url;
    std::string host;
    std::string port;
    std::string token;
    std::chrono::milliseconds timeout;
};

// A client for the API and the token that `host` says. Throws Failure when there is no token file
// for an API that is not on this host's loopback.
ApiClient ConnectApi(const Host& host,
                     std::chrono::milliseconds timeout = std::chrono::minutes(10));

}  // namespace Ctl
