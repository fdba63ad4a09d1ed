// One thread: connections, the watch and the signals are events of one context. A connection is
// answered once and closed, except one for events, which stays open until its reader leaves or is
// too slow.
#include "ctl/serve/page_server.h"

#include "ctl/serve/browser_fields.h"
#include "ctl/serve/live_page.h"
#include "ctl/show/failure.h"

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <array>
#include <chrono>
#include <csignal>
#include <set>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <unistd.h>

namespace Ctl {

namespace {

namespace Net = boost::asio;
namespace Beast = boost::beast;
namespace Http = boost::beast::http;
using Net::ip::tcp;
using ErrorCode = boost::system::error_code;
using Request = Http::request<Http::empty_body>;
using Response = Http::response<Http::string_body>;

constexpr std::size_t kMaxConnections = 32;
constexpr std::uint32_t kMaxHeadBytes = 8192;
constexpr std::chrono::seconds kHeadTime{10};             // to send a request
constexpr std::chrono::seconds kWriteTime{30};            // to take what is sent
constexpr std::size_t kMaxUnsent = std::size_t{8} << 20;  // bytes of events
constexpr std::string_view kEventsPath = "/events";
constexpr const char* kForbidden = "403: open the URL that \"sentrelctl serve\" printed\n";

// The values of all fields of that name; they point into the request.
std::vector<std::string_view> ValuesOf(const Request& request, std::string_view name) {
    std::vector<std::string_view> values;
    const auto [first, last] = request.equal_range({name.data(), name.size()});
    for (auto field = first; field != last; ++field) {
        values.emplace_back(field->value().data(), field->value().size());
    }
    return values;
}

void Protect(Http::fields& head, const std::string& policy) {
    for (const auto& [name, value] : ProtectiveFields(policy)) {
        head.set(name, value);
    }
}

}  // namespace

struct PageServer::Parts {
    explicit Parts(HostWatch& watch)
        : watch(watch), page(watch), acceptor(context), changes(context), signals(context) {}

    void Accept();
    bool MakeRoom();
    void AwaitChange();

    HostWatch& watch;
    LivePage page;
    Gate gate;
    std::size_t connections = 0;
    std::vector<Connection*> strangers;  // without an admitted request so far, the oldest first
    std::set<Connection*> readers;       // of events
    Net::io_context context{1};          // its connections end with it
    tcp::acceptor acceptor;
    Net::posix::stream_descriptor changes;
    Net::signal_set signals;
};

class PageServer::Connection : public std::enable_shared_from_this<Connection> {
  public:
    Connection(tcp::socket socket, Parts& server) : stream(std::move(socket)), server(server) {
        ++server.connections;
        server.strangers.push_back(this);
        parser.header_limit(kMaxHeadBytes);
        parser.body_limit(0);
    }
    ~Connection() {
        --server.connections;
        std::erase(server.strangers, this);
        server.readers.erase(this);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void DoRead() {
        stream.expires_after(kHeadTime);
        Http::async_read(stream, buffer, parser,
                         [self = shared_from_this()](const ErrorCode& error, std::size_t) {
                             self->OnRead(error);
                         });
    }

    // Sends the changes since the last event, once that has been sent.
    void SendUpdate() {
        if (isSending || sent == server.page.Newest()) {
            return;
        }
        const std::string update = server.page.UpdateSince(sent);
        sent = server.page.Newest();
        Send("id: " + std::to_string(sent) + "\nevent: update\ndata: " + update + "\n\n");
    }

    void Leave() {
        std::erase(server.strangers, this);
        server.readers.erase(this);
        stream.close();
    }

  private:
    void OnRead(const ErrorCode& error) {
        if (error) {
            return;  // its last reference closes the connection
        }
        const Request& request = parser.get();
        const std::string_view target(request.target().data(), request.target().size());
        const Gate::Verdict verdict = server.gate.Judge({.target = target,
                                                         .hosts = ValuesOf(request, "Host"),
                                                         .origins = ValuesOf(request, "Origin"),
                                                         .cookies = ValuesOf(request, "Cookie")});
        if (verdict != Gate::Verdict::Refused) {
            std::erase(server.strangers, this);
        }
        if (verdict == Gate::Verdict::Refused) {
            Answer(Http::status::forbidden, kForbidden);
        } else if (request.method() != Http::verb::get) {
            Answer(Http::status::method_not_allowed, "405: only GET\n");
        } else if (verdict == Gate::Verdict::Enters) {
            response.set(Http::field::set_cookie, server.gate.Cookie());
            response.set(Http::field::location, "/");
            Answer(Http::status::see_other, "");
        } else if (target == "/") {
            response.set(Http::field::content_type, "text/html; charset=utf-8");
            Answer(Http::status::ok, server.page.Document(), LivePage::Policy());
        } else if (target == "/favicon.ico") {
            Answer(Http::status::no_content, "");  // else browsers note an error
        } else if (target.starts_with(kEventsPath)) {
            const auto ids = ValuesOf(request, "Last-Event-ID");
            BeginEvents(
                VersionOf(ids.empty() ? "" : ids.front(), target.substr(kEventsPath.size())));
        } else {
            Answer(Http::status::not_found, "404: not found\n");
        }
    }

    void Answer(Http::status status, std::string body,
                const std::string& policy = "default-src 'none'") {
        response.result(status);
        Protect(response, policy);
        if (response.find(Http::field::content_type) == response.end()) {
            response.set(Http::field::content_type, "text/plain; charset=utf-8");
        }
        response.body() = std::move(body);
        response.prepare_payload();
        stream.expires_after(kWriteTime);
        Http::async_write(stream, response,
                          [self = shared_from_this()](const ErrorCode&, std::size_t) {
                              ErrorCode ignored;  // it is closed in any case
                              self->stream.socket().shutdown(tcp::socket::shutdown_send, ignored);
                          });
    }

    void BeginEvents(LivePage::Version version) {
        sent = version;
        Http::response<Http::empty_body> head(Http::status::ok, 11);
        Protect(head, "default-src 'none'");
        head.set(Http::field::content_type, "text/event-stream");
        std::ostringstream text;
        text << head;
        server.readers.insert(this);
        stream.expires_never();
        AwaitLeave();
        Send(text.str());
    }

    // A reader of events sends nothing more, so anything received means that it has left.
    void AwaitLeave() {
        stream.async_read_some(
            Net::buffer(unwanted),
            [self = shared_from_this()](const ErrorCode&, std::size_t) { self->Leave(); });
    }

    void Send(std::string text) {
        isSending = true;
        unsent = std::move(text);
        if (unsent.size() > kMaxUnsent) {
            Leave();
            return;
        }
        stream.expires_after(kWriteTime);
        Net::async_write(stream, Net::buffer(unsent),
                         [self = shared_from_this()](const ErrorCode& error, std::size_t) {
                             self->isSending = false;
                             if (error) {
                                 self->Leave();
                             } else {
                                 self->SendUpdate();
                             }
                         });
    }

    Beast::tcp_stream stream;
    Parts& server;
    Beast::flat_buffer buffer{kMaxHeadBytes};
    Http::request_parser<Http::empty_body> parser;
    Response response;
    LivePage::Version sent = 0;
    bool isSending = false;
    std::string unsent;
    std::array<char, 256> unwanted{};
};

void PageServer::Parts::Accept() {
    acceptor.async_accept([this](const ErrorCode& error, tcp::socket socket) {
        if (!error && MakeRoom()) {
            std::make_shared<Connection>(std::move(socket), *this)->DoRead();
        }
        Accept();
    });
}

// Closes the oldest connection that has sent no admitted request, if there are too many: a user
// without the secret cannot keep the others out. False if all of them are admitted.
bool PageServer::Parts::MakeRoom() {
    if (connections < kMaxConnections) {
        return true;
    }
    if (strangers.empty()) {
        return false;
    }
    strangers.front()->Leave();
    return true;
}

void PageServer::Parts::AwaitChange() {
    changes.async_wait(Net::posix::stream_descriptor::wait_read, [this](const ErrorCode& error) {
        if (error) {
            return;
        }
        page.Take(watch.Look());
        for (Connection* const reader : std::set<Connection*>(readers)) {
            reader->SendUpdate();
        }
        AwaitChange();
    });
}

PageServer::PageServer(const std::string& address, std::uint16_t port, HostWatch& watch)
    : parts(std::make_unique<Parts>(watch)) {
    const tcp::endpoint endpoint(Net::ip::make_address(address), port);
    ErrorCode error;
    parts->acceptor.open(endpoint.protocol(), error);
    if (!error) parts->acceptor.set_option(tcp::acceptor::reuse_address(true), error);
    if (!error) parts->acceptor.bind(endpoint, error);
    if (!error) parts->acceptor.listen(Net::socket_base::max_listen_connections, error);
    if (error) {
        throw Failure("cannot listen on " + address + ", port " + std::to_string(port),
                      error.value(), "name another port with --listen");
    }
}

PageServer::~PageServer() = default;

std::string PageServer::Url() const {
    const tcp::endpoint endpoint = parts->acceptor.local_endpoint();
    const std::string address = endpoint.address().to_string();
    return "http://" + (endpoint.address().is_v6() ? "[" + address + "]" : address) + ":" +
           std::to_string(endpoint.port()) + parts->gate.EntryTarget();
}

void PageServer::Run() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        parts->signals.add(signal);
    }
    parts->signals.async_wait([this](const ErrorCode&, int) { parts->context.stop(); });
    parts->changes.assign(::dup(parts->watch.Descriptor()));
    parts->AwaitChange();
    parts->Accept();
    parts->context.run();
}

}  // namespace Ctl
