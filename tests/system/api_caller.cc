#include "system/api_caller.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <optional>
#include <stdexcept>

ApiCaller::ApiCaller(const ::Test::HostDirectory& host) : key(Token::SigningKey::Generate()) {
    key.AddToTrustSet(host.Root() + "/etc/korvex/oru/token/jwks.json");
}

std::string ApiCaller::TokenFor(const std::string& subject,
                                const std::vector<std::string>& entitlements) const {
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    return key.Sign({.issuer = "sentrel",
                     .audience = "sentrel",
                     .subject = subject,
                     .entitlements = entitlements,
                     .issued = now,
                     .lifetime = std::chrono::minutes(10)});
}

::Test::HttpResponse ApiCaller::Post(const std::string& document, const std::string& token,
                                     const std::string& address) {
    ::Test::RawConnection connection(kApiPort, address);
    std::string request = "POST / HTTP/1.1\r\nContent-Type: application/json\r\n";
    if (!token.empty()) {
        request += "Authorization: Bearer " + token + "\r\n";
    }
    request += "Content-Length: " + std::to_string(document.size()) + "\r\n\r\n" + document;
    connection.Send(request);
    std::optional<::Test::HttpResponse> response = connection.ReadResponse();
    if (!response) {
        throw std::runtime_error("the API closed the connection without an answer");
    }
    return *response;
}

nlohmann::json ApiCaller::Call(const std::string& method, const std::string& parameters,
                               const std::string& token) {
    const std::string document =
        R"({"jsonrpc":"2.0","id":7,"method":")" + method + R"(","params":)" + parameters + "}";
    return nlohmann::json::parse(Post(document, token).body);
}
