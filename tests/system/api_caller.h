// A caller of the reports API on the daemon's host: tokens signed with a key that the host trusts,
// and calls whose answers are JSON.
#pragma once

#include "platform/token/token_signer.h"
#include "support/host_directory.h"
#include "support/http_client.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

inline constexpr int kApiPort = 9984;
inline constexpr char kReadPrivilege[] = "observability.reports.read";
inline constexpr char kListMethod[] = "com.korvex.oru.observability.reports.list";
inline constexpr char kGetMethod[] = "com.korvex.oru.observability.reports.get";

class ApiCaller {
  public:
    // Makes a key and has `host` trust it; before the daemon's first call.
    explicit ApiCaller(const ::Test::HostDirectory& host);

    // A token that is valid for some minutes.
    std::string TokenFor(const std::string& subject,
                         const std::vector<std::string>& entitlements) const;

    // The answer to one request on a connection of its own, as HTTP. An empty token sends none.
    static ::Test::HttpResponse Post(const std::string& document, const std::string& token,
                                     const std::string& address = "127.0.0.1");
    // The answer document to one call; `parameters` is JSON text.
    static nlohmann::json Call(const std::string& method, const std::string& parameters,
                               const std::string& token);

  private:
    const Token::SigningKey key;
};
