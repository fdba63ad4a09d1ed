#include "ctl/api_client.h"

#include "ctl/token_source.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <nlohmann/json.hpp>

#include <cstddef>
#include <utility>

namespace Ctl {

namespace {

namespace beast = boost::beast;
namespace http = beast::http;
using boost::asio::ip::tcp;
using OrderedJson = nlohmann::ordered_json;

constexpr std::size_t kMaxAnswerBytes = std::size_t{1} << 30;

// Runs the operation that was started last, and says how it ended.
class Steps {
  public:
    explicit Steps(boost::asio::io_context& context) : context(context) {}

    auto Handler() {
        return [this](beast::error_code code, auto&&...) { error = code; };
    }
    void Finish() {
        context.restart();
        context.run();
        if (error) {
            throw beast::system_error(error);
        }
    }

  private:
    boost::asio::io_context& context;
    beast::error_code error;
};

http::request<http::string_body> MakeRequest(const std::string& host, const std::string& token,
                                             const std::string& document) {
    http::request<http::string_body> request(http::verb::post, "/", 11);
    request.set(http::field::host, host);
    request.set(http::field::content_type, "application/json");
    request.set(http::field::connection, "close");
    if (!token.empty()) {
        request.set(http::field::authorization, "Bearer " + token);
    }
    request.body() = document;
    request.prepare_payload();
    return request;
}

std::string TextOf(const OrderedJson& object, const char* member) {
    const auto found = object.find(member);
    return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

// What the caller of the tool can do beside what the API's own message says.
std::string Advice(std::string_view errorName) {
    if (errorName.ends_with(".unauthenticated")) {
        return " (\"sentrelctl token issue\" makes a token, --token-file names its file)";
    }
    if (errorName.ends_with(".operation_not_found")) {
        return " (\"sentrelctl call com.korvex.quon.std.introspection.service.list\" names the "
               "services)";
    }
    return "";
}

[[noreturn]] void ThrowError(const OrderedJson& error) {
    const std::string name =
        error.contains("data") && error["data"].is_object() ? TextOf(error["data"], "error") : "";
    std::string text = TextOf(error, "message");
    if (text.empty()) {
        text = name.empty() ? "the API answered with an error that says nothing" : name;
    }
    throw ApiError(name, text + Advice(name));
}

}  // namespace

ApiClient::ApiClient(const std::string& url, std::string token)
    : url(url), token(std::move(token)) {
    constexpr std::string_view kScheme = "http://";
    std::string_view rest = url;
    if (!rest.starts_with(kScheme)) {
        throw std::runtime_error("\"" + url + "\" is no address of the API; write it as " +
                                 std::string(kDefaultApiUrl));
    }
    rest.remove_prefix(kScheme.size());
    rest = rest.substr(0, rest.find('/'));
    const std::size_t hostEnd = rest.starts_with('[') ? rest.find(']') : 0;
    const std::size_t colon = hostEnd == std::string_view::npos ? hostEnd : rest.find(':', hostEnd);
    host = rest.substr(0, colon);
    port = colon == std::string_view::npos ? "80" : std::string(rest.substr(colon + 1));
    if (host.starts_with('[') && host.ends_with(']')) {
        host = host.substr(1, host.size() - 2);
    }
    if (host.empty() || port.empty()) {
        throw std::runtime_error("\"" + url + "\" names no host and port; write it as " +
                                 std::string(kDefaultApiUrl));
    }
}

OrderedJson ApiClient::Call(std::string_view method, const OrderedJson& parameters) const {
    const OrderedJson request = {
        {"jsonrpc", "2.0"}, {"id", 1}, {"method", method}, {"params", parameters}};
    std::string text =
        Exchange(request.dump(-1, ' ', false, OrderedJson::error_handler_t::replace));
    const OrderedJson answer = OrderedJson::parse(text, nullptr, false);
    text = {};
    if (answer.is_object() && answer.contains("result")) {
        return answer["result"];
    }
    if (answer.is_object() && answer.contains("error") && answer["error"].is_object()) {
        ThrowError(answer["error"]);
    }
    throw std::runtime_error(url +
                             " answers, but not as the API does; name another address with "
                             "--api");
}

// The body of the answer.
std::string ApiClient::Exchange(const std::string& document) const {
    boost::asio::io_context context;
    Steps steps(context);
    try {
        tcp::resolver resolver(context);
        const tcp::resolver::results_type addresses = resolver.resolve(host, port);
        beast::tcp_stream stream(context);
        stream.expires_after(kApiPatience);
        stream.async_connect(addresses, steps.Handler());
        steps.Finish();
        const http::request<http::string_body> request = MakeRequest(host, token, document);
        http::async_write(stream, request, steps.Handler());
        steps.Finish();
        beast::flat_buffer buffer;
        http::response_parser<http::string_body> parser;
        parser.body_limit(kMaxAnswerBytes);
        http::async_read(stream, buffer, parser, steps.Handler());
        steps.Finish();
        return std::move(parser.get().body());
    } catch (const beast::system_error& error) {
        throw std::runtime_error("the API at " + url +
                                 " cannot be reached: " + error.code().message() +
                                 "; start sentrel, or name another address with --api");
    }
}

ApiClient ConnectApi(const GivenOptions& options) {
    const std::string url =
        options.Has("--api") ? options.Value("--api") : std::string(kDefaultApiUrl);
    return ApiClient(url, FindToken(options));
}

}  // namespace Ctl
