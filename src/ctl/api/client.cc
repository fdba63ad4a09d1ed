#include "ctl/api/client.h"

#include "ctl/api/http_post.h"
#include "ctl/api/token_source.h"
#include "ctl/host/port_holder.h"
#include "ctl/show/json_output.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace Ctl {

namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr const char* kNameAnother = "name another address with --api";

struct Explanation {
    std::string happened;
    std::string advice = {};
};

// The explanation of an API error for a person: the API's own message is worded for authors of
// clients.
Explanation Explain(const std::string& name, const std::string& message, bool hasToken,
                    bool mayBeOffline) {
    if (name.ends_with(".unauthenticated")) {
        return hasToken
                   ? Explanation{"the API refuses the token",
                                 "\"sentrelctl token inspect\" says why it is not trusted; if it "
                                 "is, the "
                                 "daemon has older token settings: restart sentrel"}
                   : Explanation{
                         "no token for the API",
                         std::string(mayBeOffline ? "use --offline to read the report directory "
                                                    "(group korvex), --token-file FILE, or "
                                                  : "use --token-file FILE, or ") +
                             std::string(::geteuid() == 0
                                             ? "create the signing key: sentrelctl token init"
                                             : "run this as root")};
    }
    if (name.ends_with(".unauthorized")) {
        return {message + " (\"sentrelctl token issue\" takes it as --entitlement)"};
    }
    if (name.ends_with(".operation_not_found")) {
        return {message +
                " (\"sentrelctl call com.korvex.quon.std.introspection.service.list\" names the "
                "services)"};
    }
    if (name.ends_with(".not_found") && message.empty()) {
        return {"the API has nothing of that name (" + name + ")",
                "\"sentrelctl list\" names the reports"};
    }
    if (message.empty()) {
        return {"the API failed" + (name.empty() ? "" : " with " + name) + " and gave no reason",
                "see the daemon's log"};
    }
    return {message};
}

[[noreturn]] void ThrowError(const OrderedJson& error, bool hasToken, bool mayBeOffline) {
    const auto data = error.find("data");
    const std::string name = data != error.end() && data->is_object() ? TextOf(*data, "error") : "";
    const std::string message = TextOf(error, "message");
    const Explanation explanation =
        Explain(name, message == name ? "" : message, hasToken, mayBeOffline);
    throw ApiError(name, explanation.happened, explanation.advice);
}

// Whether the host is "localhost" or a literal address of loopback.
bool NamesLoopback(std::string_view host) {
    return host == "localhost" || host == "::1" || host.starts_with("127.");
}

bool IsPort(std::string_view text) {
    std::uint16_t port = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    return error == std::errc() && stop == text.data() + text.size() && port != 0;
}

}  // namespace

ApiClient::ApiClient(const std::string& url, TokenSource token, std::chrono::milliseconds timeout,
                     bool mayBeOffline)
    : url(url), token(std::move(token)), timeout(timeout), mayBeOffline(mayBeOffline) {
    constexpr std::string_view kScheme = "http://";
    std::string_view rest = url;
    if (!rest.starts_with(kScheme)) {
        throw Failure("invalid address \"" + url + "\" for --api",
                      "write it as " + std::string(kDefaultApiUrl));
    }
    rest.remove_prefix(kScheme.size());
    rest = rest.substr(0, rest.find('/'));
    const bool isBracketed = rest.starts_with('[');
    const std::size_t bracket = rest.find(']');
    const std::size_t colon = rest.find(':', isBracketed && bracket != rest.npos ? bracket : 0);
    host = rest.substr(0, colon);
    port = colon == std::string_view::npos ? "80" : std::string(rest.substr(colon + 1));
    if (isBracketed && host.ends_with(']')) {
        host = host.substr(1, host.size() - 2);
    }
    if (host.empty() || host.front() == '[' || !IsPort(port)) {
        throw Failure("invalid address \"" + url + "\" for --api",
                      "write it as " + std::string(kDefaultApiUrl));
    }
}

bool ApiClient::IsOnLoopback() const { return NamesLoopback(host); }

OrderedJson ApiClient::Call(std::string_view method, const OrderedJson& parameters) {
    const OrderedJson request = {
        {"jsonrpc", "2.0"}, {"id", 1}, {"method", method}, {"params", parameters}};
    std::string text =
        Exchange(request.dump(-1, ' ', false, OrderedJson::error_handler_t::replace));
    OrderedJson answer = OrderedJson::parse(text, nullptr, false);
    text = {};
    if (answer.is_object() && answer.contains("result")) {
        return std::move(answer["result"]);
    }
    if (answer.is_object() && answer.contains("error") && answer["error"].is_object()) {
        ThrowError(answer["error"], HasToken(), mayBeOffline);
    }
    const std::string stranger = StrangersName();
    throw Failure(url + " answered, but is not the sentrel API" + stranger,
                  stranger.empty() ? kNameAnother : AdviceOnStranger());
}

std::string ApiClient::StrangersName() const {
    std::uint16_t number = 0;
    (void)std::from_chars(port.data(), port.data() + port.size(), number);  // checked above
    const std::string holder = NamesLoopback(host) ? StrangerOn(number) : "";
    return holder.empty() ? "" : ": port " + port + " is held by " + holder;
}

std::string ApiClient::AdviceOnStranger() const {
    return url == kDefaultApiUrl ? kFreeApiPort : kNameAnother;
}

// What to do about an API that cannot be reached. A daemon that accepts a connection and does not
// answer is running, so to start it would do nothing.
std::string ApiClient::AdviceOn(int errorNumber) const {
    const std::string verb = errorNumber == ETIMEDOUT && IsOnLoopback() ? "restart" : "start";
    return verb + " sentrel (\"systemctl " + verb + " sentrel\"), or " +
           (mayBeOffline && url == kDefaultApiUrl ? "use --offline" : kNameAnother);
}

// Sends the document and returns the body of the answer.
std::string ApiClient::Exchange(std::string document) {
    const std::string& sent = token.Current();
    try {
        return Send({.host = host,
                     .port = port,
                     .authorization = sent.empty() ? "" : "Bearer " + sent,
                     .body = std::move(document),
                     .timeout = timeout})
            .body;
    } catch (const HttpFailure& failure) {
        const std::string stranger = StrangersName();
        if (!stranger.empty()) {
            throw Failure(url + " is not the sentrel API" + stranger + ": " + failure.what(),
                          AdviceOnStranger(), failure.ErrorNumber());
        }
        throw Failure("cannot reach the API at " + url + ": " + failure.what(),
                      AdviceOn(failure.ErrorNumber()), failure.ErrorNumber());
    }
}

ApiClient ConnectApi(const Host& host, std::chrono::milliseconds timeout) {
    if (const ApiClient client(host.apiUrl, TokenSource(), timeout);
        host.tokenFile.empty() && !client.IsOnLoopback()) {
        throw Failure(
            "no token for the API at " + host.apiUrl + ", which is not on this host's loopback",
            "give one with --token-file FILE");
    }
    return ApiClient(host.apiUrl, TokenSource(host.tokenFile), timeout, host.mayBeOffline);
}

}  // namespace Ctl
