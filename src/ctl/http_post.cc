#include "ctl/http_post.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <chrono>
#include <cstddef>
#include <utility>

namespace Ctl {

namespace {

namespace beast = boost::beast;
namespace http = beast::http;
using boost::asio::ip::tcp;

constexpr std::chrono::seconds kPatience{60};  // for all of it
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

http::request<http::string_body> MakeRequest(const HttpPost& post) {
    http::request<http::string_body> request(http::verb::post, post.target, 11);
    request.set(http::field::host, post.host);
    request.set(http::field::content_type, "application/json");
    request.set(http::field::connection, "close");
    if (!post.authorization.empty()) {
        request.set(http::field::authorization, post.authorization);
    }
    request.body() = post.body;
    request.prepare_payload();
    return request;
}

}  // namespace

HttpAnswer Send(const HttpPost& post) {
    boost::asio::io_context context;
    Steps steps(context);
    try {
        tcp::resolver resolver(context);
        const tcp::resolver::results_type addresses = resolver.resolve(post.host, post.port);
        beast::tcp_stream stream(context);
        stream.expires_after(kPatience);
        stream.async_connect(addresses, steps.Handler());
        steps.Finish();
        const http::request<http::string_body> request = MakeRequest(post);
        http::async_write(stream, request, steps.Handler());
        steps.Finish();
        beast::flat_buffer buffer;
        http::response_parser<http::string_body> parser;
        parser.body_limit(kMaxAnswerBytes);
        http::async_read(stream, buffer, parser, steps.Handler());
        steps.Finish();
        return {parser.get().result_int(), std::move(parser.get().body())};
    } catch (const beast::system_error& error) {
        throw HttpFailure(error.code().message());
    }
}

}  // namespace Ctl
