// HTTP clients of tests: a connection whose bytes the test writes itself, and a well-behaved client
// that posts reports. Nothing is corrected or retried; what the server sent is what the test sees.
#pragma once

#include "platform/sys/owned_fd.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Test {

inline constexpr int kIntakePort = 9996;

struct HttpResponse {
    int status = 0;
    std::vector<std::pair<std::string, std::string>> fields;
    std::string body;

    // The value of the first field of that name, compared without case; empty when there is none.
    std::string Field(std::string_view name) const;
    bool ClosesConnection() const { return Field("Connection") == "close"; }
};

// One TCP connection to a loopback address. All waiting is bounded: std::runtime_error when it is
// in vain. One thread at a time.
class RawConnection {
  public:
    // Throws std::system_error when it is refused.
    explicit RawConnection(int port = kIntakePort, const std::string& address = "127.0.0.1");

    // Sends all of `bytes`; false when the server has closed or reset the connection before.
    bool Send(std::string_view bytes);
    // Ends the sending side only.
    void FinishSending();
    // Closes with a reset, so that the server sees an error instead of an end.
    void Reset();

    // One response, interim ones (100) too, the body put together when it comes in chunks. Nothing
    // when the server closes before it is complete.
    // Throws when what arrives is no response.
    std::optional<HttpResponse> ReadResponse();
    // All that arrives until the server ends or resets the connection.
    std::string ReadUntilClosed();

  private:
    bool ReceiveMore();

    Sys::OwnedFd socket;
    std::string received;
};

// The head and body of a good post of `body` to `path`; `fields` are more lines with their ends.
std::string PostRequest(std::string_view path, std::string_view body, std::string_view fields = {});

// A report document under `name`, `padding` bytes longer than the shortest.
std::string ReportDocument(std::string_view name, std::size_t padding = 0);

// Posts reports over one kept connection, connecting again when the server closed it after an
// answer.
class HttpClient {
  public:
    explicit HttpClient(int port = kIntakePort) : port(port) {}

    // The status of the answer; 0 when the connection ended without one. Throws like RawConnection.
    int Post(std::string_view path, std::string_view body);

  private:
    const int port;
    std::optional<RawConnection> connection;
};

}  // namespace Test
