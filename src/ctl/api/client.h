// A client of the reports API: one JSON-RPC request over HTTP, with failures worded for a person.
#pragma once

#include "ctl/api/token_source.h"
#include "ctl/host/host.h"
#include "ctl/show/failure.h"

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <string>
#include <string_view>

namespace Ctl {

// An error in the API's answer.
class ApiError : public Failure {
  public:
    ApiError(std::string name, const std::string& happened, const std::string& advice)
        : Failure(happened, advice), name(std::move(name)) {}

    // Such as "com.korvex.quon.std.errors.not_found"; empty if the answer has no name.
    const std::string& Name() const { return name; }

  private:
    std::string name;
};

class ApiClient {
  public:
    // `url` is "http://HOST[:PORT]", HOST a name or an address, IPv6 in brackets. Each
    // call may take `timeout`. `mayBeOffline`: the command has the option
    // --offline, which failures then name. Throws Failure if the URL is invalid.
    ApiClient(const std::string& url, TokenSource token,
              std::chrono::milliseconds timeout = std::chrono::minutes(10),
              bool mayBeOffline = false);

    bool IsOnLoopback() const;
    bool HasToken() const { return token.HasToken(); }

    // The result of `method`. Throws ApiError if the API returns an error, UntrustedListener if
    // another user's program holds the port, and Failure if the API cannot be reached (ETIMEDOUT:
    // in time) or the answer is invalid.
    nlohmann::ordered_json Call(std::string_view method, const nlohmann::ordered_json& parameters);

  private:
    std::string Exchange(std::string document);
    std::string AdviceOn(int errorNumber) const;
    // ": " and the holder of the port, if this user can see that it is another program.
    std::string StrangersName() const;
    std::string AdviceOnStranger() const;

    std::string url;
    std::string host;
    std::string port;
    TokenSource token;
    std::chrono::milliseconds timeout;
    bool mayBeOffline;
};

// A client for the API and the token of `host`. Throws Failure if the API is not on this host's
// loopback and no token file is given.
ApiClient ConnectApi(const Host& host,
                     std::chrono::milliseconds timeout = std::chrono::minutes(10));

}  // namespace Ctl
