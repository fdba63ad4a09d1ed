// Puts load on an intake: posts reports over loopback in a closed loop, with one request in flight
// on each connection, and times each from its first byte (on new connections from the connect) to
// its response. Checks every response. Uses one thread, so its own cost is the same for every
// server.
#include "command_line.h"
#include "http_answer.h"
#include "load_connection.h"
#include "measurement.h"
#include "platform/sys/owned_fd.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <sys/epoll.h>

namespace Bench {
namespace {

constexpr char kUsage[] =
    "usage: bench_intake_load --port PORT [--method POST|PUT] [--path PREFIX] [--connections N]\n"
    "           [--names N] [--body BYTES] [--milliseconds N | --posts N] [--expect STATUS,...]\n"
    "           [--connect kept|new]\n"
    "Posts to 127.0.0.1:PORT the reports PREFIX0, PREFIX1, ... (PREFIX \"/load\" by default), "
    "each\n"
    "connection its own share of the names (one each by default), and prints one line of JSON.\n"
    "The first post of each connection is not measured. Ends with 1 when an answer had another\n"
    "status than those expected (200 by default).\n";

struct Plan {
    std::uint16_t port = 0;
    std::string method;
    std::string path;
    std::size_t connections = 1;
    std::size_t names = 1;
    std::size_t bodyBytes = 0;
    std::chrono::milliseconds duration{0};  // no measured post starts later than this
    std::uint64_t posts = 0;                // measured posts; 0: as many as the time allows
    std::set<int> expected;
    bool connectsAnew = false;  // a new connection for each post
};

// A report document of exactly `bytes` bytes. Throws std::invalid_argument if that is too short.
std::string MakeReport(std::size_t bytes) {
    std::string report =
        R"({"structured":{"name":"load","time":"2025-01-01T00:00:00","status":0},"unstructured":{"fill":")";
    constexpr std::string_view kClosing = R"("}})";
    if (bytes < report.size() + kClosing.size()) {
        throw std::invalid_argument("--body is at least " +
                                    std::to_string(report.size() + kClosing.size()));
    }
    report.resize(bytes - kClosing.size(), 'x');
    return report.append(kClosing);
}

std::string MakeHead(const Plan& plan, std::size_t name) {
    std::ostringstream head;
    head << plan.method << ' ' << plan.path << name << " HTTP/1.1\r\n"
         << "Host: 127.0.0.1:" << plan.port << "\r\n"
         << "Content-Type: application/json\r\n"
         << "Content-Length: " << plan.bodyBytes << "\r\n\r\n";
    return head.str();
}

class Load {
  public:
    explicit Load(Plan wanted)
        : plan(std::move(wanted)),
          body(MakeReport(plan.bodyBytes)),
          epoll(::epoll_create1(EPOLL_CLOEXEC)) {
        if (!epoll.IsOpen()) {
            FailWithErrno("epoll_create1");
        }
        for (std::size_t name = 0; name < plan.names; ++name) {
            heads.push_back(MakeHead(plan, name));
        }
        for (std::size_t number = 0; number < plan.connections; ++number) {
            connections.emplace_back(number);
        }
    }

    // Posts once on each connection, then for the wanted time or number of posts. Throws if the
    // server fails; counts responses with another status than expected.
    Measurement Run() {
        if (!plan.connectsAnew) {
            for (Connection& connection : connections) {
                OpenAndWatch(connection);
            }
        }
        StartAll(Clock::now());
        Drive();
        isMeasuring = true;
        start = Clock::now();
        end = start;
        StartAll(start);
        Drive();
        result.elapsed = end - start;
        return std::move(result);
    }

  private:
    void OpenAndWatch(Connection& connection) {
        connection.Open(plan.port);
        epoll_event event{};
        event.events = EPOLLIN | EPOLLOUT | EPOLLRDHUP | EPOLLET;
        event.data.ptr = &connection;
        if (::epoll_ctl(epoll.Get(), EPOLL_CTL_ADD, connection.Descriptor(), &event) != 0) {
            FailWithErrno("epoll_ctl");
        }
    }

    void StartAll(Clock::time_point now) {
        for (Connection& connection : connections) {
            StartPost(connection, now);
        }
    }

    // Starts the next post of a connection unless all the wanted posts have been started.
    void StartPost(Connection& connection, Clock::time_point now) {
        if (isMeasuring &&
            (now - start >= plan.duration || (plan.posts > 0 && startedPosts == plan.posts))) {
            return;
        }
        if (isMeasuring) {
            ++startedPosts;
        }
        ++inFlight;
        const std::size_t name = connection.TakeName(plan.connections, plan.names);
        connection.Begin(heads[name], body, now);
        if (plan.connectsAnew) {
            OpenAndWatch(connection);
        }
        connection.Send();
    }

    // Runs until every post that was started has its response.
    void Drive() {
        std::array<epoll_event, 64> events{};
        while (inFlight > 0) {
            const int count = ::epoll_wait(epoll.Get(), events.data(),
                                           static_cast<int>(events.size()), kSilenceMilliseconds);
            if (count < 0 && errno != EINTR) {
                FailWithErrno("epoll_wait");
            }
            if (count == 0) {
                throw std::runtime_error("the server was silent for " +
                                         std::to_string(kSilenceMilliseconds / 1000) + " s");
            }
            for (int position = 0; position < count; ++position) {
                const epoll_event& event = events.at(static_cast<std::size_t>(position));
                Continue(*static_cast<Connection*>(event.data.ptr), event.events);
            }
        }
    }

    void Continue(Connection& connection, std::uint32_t ready) {
        if ((ready & EPOLLOUT) != 0) {
            connection.Send();
        }
        if ((ready & ~static_cast<std::uint32_t>(EPOLLOUT)) != 0) {
            if (const std::optional<Answer> answer = connection.Receive()) {
                FinishPost(connection, *answer);
            }
        }
    }

    void FinishPost(Connection& connection, const Answer& answer) {
        const Clock::time_point now = Clock::now();
        --inFlight;
        ++result.posts;
        if (plan.expected.count(answer.status) == 0) {
            ++result.errors;
        }
        if (isMeasuring) {
            result.latencies.push_back(now - connection.Started());
            end = now;
        }
        if (plan.connectsAnew) {
            connection.Close();
        } else if (answer.closes) {
            throw std::runtime_error("the server closes a kept connection with status " +
                                     std::to_string(answer.status));
        }
        if (isMeasuring) {
            StartPost(connection, plan.connectsAnew ? Clock::now() : now);
        }
    }

    const Plan plan;
    const std::string body;
    std::vector<std::string> heads;  // one for each name
    std::vector<Connection> connections;
    Sys::OwnedFd epoll;
    Measurement result;
    bool isMeasuring = false;
    Clock::time_point start;
    Clock::time_point end;
    std::uint64_t startedPosts = 0;  // only measured ones
    std::size_t inFlight = 0;
};

std::set<int> ReadStatuses(const std::string& text) {
    std::set<int> statuses;
    std::istringstream list(text);
    for (std::string status; std::getline(list, status, ',');) {
        statuses.insert(std::stoi(status));
    }
    return statuses;
}

Plan ReadPlan(CommandLine line) {
    Plan plan;
    plan.port = static_cast<std::uint16_t>(line.TakeNumber("port", 0));
    plan.method = line.TakeText("method", "POST");
    plan.path = line.TakeText("path", "/load");
    plan.connections = line.TakeNumber("connections", 1);
    plan.names = line.TakeNumber("names", plan.connections);
    plan.bodyBytes = line.TakeNumber("body", 300);
    plan.posts = line.TakeNumber("posts", 0);
    plan.duration =
        std::chrono::milliseconds(line.TakeNumber("milliseconds", plan.posts > 0 ? 60'000 : 1000));
    plan.expected = ReadStatuses(line.TakeText("expect", "200"));
    const std::string connect = line.TakeText("connect", "kept");
    plan.connectsAnew = connect == "new";
    line.RefuseOthers();
    if (plan.port == 0 || (connect != "new" && connect != "kept")) {
        throw std::invalid_argument("--port is missing, or --connect is neither kept nor new");
    }
    if (plan.connections == 0 || plan.names == 0 || plan.names % plan.connections != 0) {
        throw std::invalid_argument("--names is a multiple of --connections, which is at least 1");
    }
    return plan;
}

// Returns 1 if a response was not as expected, else 0.
int Run(CommandLine line) {
    Measurement measurement = Load(ReadPlan(std::move(line))).Run();
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
        (void)std::fprintf(stderr, "bench_intake_load: %s\n%s", error.what(), Bench::kUsage);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "bench_intake_load: %s\n", error.what());
    }
    return EXIT_FAILURE;
}
