// Puts load on an API: repeats one call on a persistent connection and times it from its first byte
// to the last of the response, chunked or not. Checks every response.
#include "command_line.h"
#include "http_answer.h"
#include "load_connection.h"
#include "measurement.h"
#include "platform/http1/chunked_decoder.h"
#include "platform/sys/owned_fd.h"

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>

namespace Bench {
namespace {

constexpr char kUsage[] =
    "usage: bench_api_load --port PORT [--method METHOD] [--path PATH] [--document FILE]\n"
    "           [--token-file FILE] [--bytes N] [--milliseconds N | --calls N] [--answer FILE]\n"
    "Sends the document to 127.0.0.1:PORT in a loop, with the token if one is given, and prints "
    "one\n"
    "line of JSON. The first call is not measured; its answer is written to the file of --answer.\n"
    "Ends with 1 when an answer had another status than 200, told of an error, or its body had\n"
    "another size than --bytes (that of the first answer by default).\n";
constexpr std::size_t kReadBytes = 256 * 1024;
constexpr std::size_t kMaxBodyBytes = std::size_t{1} << 30U;

struct Plan {
    std::uint16_t port = 0;
    std::string request;
    std::size_t bodyBytes = 0;              // of a correct response; 0: like the first one
    std::chrono::milliseconds duration{0};  // no measured call starts later than this
    std::uint64_t calls = 0;                // measured calls; 0: as many as the time allows
    std::string answerPath;
};

// Makes one call after the other. `Body` returns the last response's body.
class Caller {
  public:
    explicit Caller(std::uint16_t port) : socket(ConnectTo(port)), buffer(kReadBytes, '\0') {}

    Answer Call(const std::string& request) {
        if (::send(socket.Get(), request.data(), request.size(), MSG_NOSIGNAL) !=
            static_cast<ssize_t>(request.size())) {
            FailWithErrno("sending a call");
        }
        std::string head;
        std::optional<Answer> answer;
        while (!answer) {
            head.append(Read());
            answer = ReadAnswer(head);
        }
        body.clear();
        ReadBody(*answer, std::string_view(head).substr(answer->bytes));
        return *answer;
    }

    const std::string& Body() const { return body; }

  private:
    // Receives the next bytes; valid until the next call.
    std::string_view Read() {
        const ssize_t count = ::recv(socket.Get(), buffer.data(), buffer.size(), 0);
        if (count < 0) {
            FailWithErrno("reading an answer");
        }
        if (count == 0) {
            throw std::runtime_error("the server closed the connection within an answer");
        }
        return std::string_view(buffer).substr(0, static_cast<std::size_t>(count));
    }

    void ReadBody(const Answer& answer, std::string_view received) {
        if (!answer.isChunked) {
            body.append(received);
            while (body.size() < answer.bodyBytes) {
                body.append(Read());
            }
            return;
        }
        Http1::ChunkedDecoder decoder(kMaxBodyBytes);
        Http1::ChunkScan scan = decoder.Decode(received, body);
        while (scan == Http1::ChunkScan::Incomplete) {
            received = Read();
            scan = decoder.Decode(received, body);
        }
        if (scan != Http1::ChunkScan::Complete || !received.empty()) {
            throw std::runtime_error("the chunks of an answer are malformed or not alone");
        }
    }

    Sys::OwnedFd socket;
    std::string buffer;
    std::string body;
};

void Judge(const Answer& answer, const std::string& body, const Plan& plan, Measurement& result) {
    ++result.posts;
    if (answer.status != 200 || answer.isError || body.size() != plan.bodyBytes) {
        ++result.errors;
    }
}

Measurement Run(Plan plan) {
    Measurement result;
    Caller caller(plan.port);
    const Answer first = caller.Call(plan.request);
    if (!plan.answerPath.empty() &&
        !(std::ofstream(plan.answerPath, std::ios::binary) << caller.Body()).flush()) {
        throw std::runtime_error("cannot write " + plan.answerPath);
    }
    plan.bodyBytes = plan.bodyBytes > 0 ? plan.bodyBytes : caller.Body().size();
    Judge(first, caller.Body(), plan, result);
    const Clock::time_point start = Clock::now();
    for (Clock::time_point before = start; before - start < plan.duration;) {
        if (plan.calls > 0 && result.latencies.size() == plan.calls) {
            break;
        }
        const Answer answer = caller.Call(plan.request);
        const Clock::time_point after = Clock::now();
        result.latencies.push_back(after - before);
        result.elapsed = after - start;
        Judge(answer, caller.Body(), plan, result);
        before = after;
    }
    return result;
}

// The whole file; empty for an empty path. Throws std::runtime_error when it cannot be read.
std::string ReadText(const std::string& path) {
    if (path.empty()) {
        return {};
    }
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file) {
        throw std::runtime_error("cannot read " + path);
    }
    return text;
}

std::string MakeRequest(CommandLine& line) {
    const std::string document = ReadText(line.TakeText("document", ""));
    std::string token = ReadText(line.TakeText("token-file", ""));
    token.erase(token.find_last_not_of(" \r\n") + 1);
    std::string request = line.TakeText("method", "POST") + " " + line.TakeText("path", "/");
    request += " HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/json\r\n";
    if (!token.empty()) {
        request += "Authorization: Bearer " + token + "\r\n";
    }
    request += "Content-Length: " + std::to_string(document.size()) + "\r\n\r\n";
    return request + document;
}

Plan ReadPlan(CommandLine line) {
    Plan plan;
    plan.port = static_cast<std::uint16_t>(line.TakeNumber("port", 0));
    plan.request = MakeRequest(line);
    plan.bodyBytes = line.TakeNumber("bytes", 0);
    plan.calls = line.TakeNumber("calls", 0);
    plan.duration =
        std::chrono::milliseconds(line.TakeNumber("milliseconds", plan.calls > 0 ? 60'000 : 1000));
    plan.answerPath = line.TakeText("answer", "");
    line.RefuseOthers();
    if (plan.port == 0) {
        throw std::invalid_argument("--port is missing");
    }
    return plan;
}

// Returns 1 if a response was not as expected, else 0.
int Run(CommandLine line) {
    Measurement measurement = Run(ReadPlan(std::move(line)));
    const bool isGood = measurement.errors == 0;
    Print(std::move(measurement));
    return isGood ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) {
    try {
        return Bench::Run(Bench::CommandLine(argc, argv));
    } catch (const std::invalid_argument& error) {
        (void)std::fprintf(stderr, "bench_api_load: %s\n%s", error.what(), Bench::kUsage);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "bench_api_load: %s\n", error.what());
    }
    return EXIT_FAILURE;
}
