// A request and its response, as the handler and the job see them. Its destructor sends a response
// that is still due and returns the connection to the service.
#pragma once

#include "platform/http1/request_head.h"
#include "platform/pellmar/http/http_connection.h"
#include "platform/pellmar/http/http_message.h"
#include "platform/pellmar/object.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Pellmar::Http {

class ServiceImpl;

class Exchange final : public ObjectImpl, public Request, public Response {
  public:
    // `length` has been checked. Copies from `head` what is needed later.
    Exchange(Ref<ServiceImpl> service, Ref<Connection> connection, const Http1::RequestHead& head,
             const Http1::ContentLength& length);
    ~Exchange() override;

    const std::string& GetContentType() const override { return contentType; }
    const std::string& GetUrl() const override { return url; }
    bool GetContentLength(std::int64_t& length) const override;
    int ReadBody(char* buffer, std::size_t size) override;

    void Reply(const ResponseCode& code) override;
    void SetStatus(const ResponseCode& code) override { status = code; }
    void Complete() override;

    std::string ToString() const override { return url; }

  private:
    enum class BodyState { Fine, Late, Gone };

    void BeginBody();
    void AwaitBody();
    [[noreturn]] void FailBody(BodyState failure, const std::string& reason);
    // Waits for the socket while another thread serves. Returns false once `deadline` has passed.
    bool WaitAside(short events, Connection::TimePoint deadline);
    // Sends all of `bytes`, waiting for a slow client; returns false if they cannot be sent.
    bool SendAll(std::string_view bytes);
    bool SendAnswer(const ResponseCode& code);
    void SendWhatIsOwed();

    const Ref<ServiceImpl> service;
    const Ref<Connection> connection;
    const std::string contentType;
    const std::string url;
    const bool isHttp10;
    bool keepsConnection;
    const bool expectsContinue;
    std::int64_t contentLength = 0;
    bool hasLength = false;
    // The end of the body cannot be determined.
    bool bodyIsUnbounded = false;

    std::uint64_t bodyLeft = 0;
    bool bodyHasBegun = false;
    Connection::TimePoint bodyDeadline;
    BodyState bodyState = BodyState::Fine;
    ResponseCode status = ResponseCode::InternalServerError;
    bool answered = false;
    bool sendFailed = false;
};

}  // namespace Pellmar::Http
