// @NAME@: a plugin in C++17. It checks one thing, posts one report and exits. The daemon
// runs it as
//
//   .../@NAME@ ++group=sentrel-plugins,mem=40 -u http://localhost:9996 [--loglevel=info]
//
// with an empty environment and sends it SIGTERM after 30 s. It needs no library; linked
// statically it takes the least memory:
//
//   g++ -std=c++17 -O2 -static @NAME@.cc -o @NAME@
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

enum Status { Ok, Warning, Error, None, Unknown };

struct Report {
    Status status = Unknown;
    std::string reason;
    std::string metrics;  // members of a JSON object
};

// The check: replace it. An exception is reported with the status unknown.
Report Check() {
    const double warning = 80;
    const double critical = 95;  // % of the limit
    double open = 0;
    double unused = 0;
    double limit = 0;
    std::ifstream file("/proc/sys/fs/file-nr");
    if (!(file >> open >> unused >> limit)) {
        throw std::runtime_error("cannot read /proc/sys/fs/file-nr");
    }
    const double used = 100 * open / limit;
    Report report;
    report.status = used >= critical ? Error : used >= warning ? Warning : Ok;
    char text[200];
    std::snprintf(text, sizeof text, "%.0f open files, %.2f %% of the limit", open, used);
    report.reason = text;
    std::snprintf(
        text, sizeof text,
        R"("open": %.0f, "used": {"value": %.2f, "unit": "%%", "warning": %.0f, "critical": %.0f})",
        open, used, warning, critical);
    report.metrics = text;
    return report;
}

// `text` as a JSON string. Bytes that are not ASCII become "?", since they may not be UTF-8.
std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            quoted += '\\';
            quoted += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            quoted += ' ';
        } else {
            quoted += static_cast<unsigned char>(c) < 0x7F ? c : '?';
        }
    }
    return quoted + "\"";
}

std::string Now() {
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
    return text;
}

std::string ToJson(const std::string& name, const Report& report) {
    return "{\"structured\": {\"name\": " + Quoted(name) + ", \"time\": \"" + Now() +
           "\", \"status\": " + std::to_string(report.status) +
           "}, \"unstructured\": {\"reason\": " + Quoted(report.reason) + ", \"metrics\": {" +
           report.metrics + "}}}";
}

// Sends the request to `port` of this host, over IPv4 or else IPv6. Returns the part of the
// answer that arrived; empty if a step takes more than 8 s.
std::string Exchange(int port, const std::string& request) {
    sockaddr_in v4{};
    v4.sin_family = AF_INET;
    v4.sin_port = htons(static_cast<unsigned short>(port));
    v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr_in6 v6{};
    v6.sin6_family = AF_INET6;
    v6.sin6_port = v4.sin_port;
    v6.sin6_addr = in6addr_loopback;
    std::string answer;
    for (const bool second : {false, true}) {
        const int connection = socket(second ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const timeval limit{8, 0};
        setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        setsockopt(connection, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
        const auto* address = second ? reinterpret_cast<const sockaddr*>(&v6)
                                     : reinterpret_cast<const sockaddr*>(&v4);
        if (connect(connection, address, second ? sizeof v6 : sizeof v4) == 0 &&
            send(connection, request.data(), request.size(), MSG_NOSIGNAL) ==
                static_cast<ssize_t>(request.size())) {
            char buffer[512];
            for (ssize_t count = 0; (count = recv(connection, buffer, sizeof buffer, 0)) > 0;) {
                answer.append(buffer, static_cast<std::size_t>(count));
            }
        }
        close(connection);
        if (!answer.empty()) {
            break;
        }
    }
    return answer;
}

// Posts the report to `url`, http://HOST:PORT with HOST this host. Returns the HTTP status of
// the answer, or 0 if none arrived.
int Post(const std::string& url, const std::string& name, const std::string& body) {
    const std::string host = url.substr(url.rfind('/') + 1);
    const int port = std::atoi(host.c_str() + host.rfind(':') + 1);
    const std::string answer =
        Exchange(port, "POST /" + name + " HTTP/1.1\r\nHost: " + host +
                           "\r\nContent-Type: application/json\r\nConnection: "
                           "close\r\nContent-Length: " +
                           std::to_string(body.size()) + "\r\n\r\n" + body);
    return answer.size() > 12 ? std::atoi(answer.c_str() + 9) : 0;  // after "HTTP/1.1 "
}

// Writes one line for the daemon's log and returns `status`.
int Fail(const std::string& name, const std::string& text, int status) {
    std::fprintf(stderr, "%s: %s\n", name.c_str(), text.c_str());
    return status;
}

}  // namespace

int main(int argc, char* argv[]) {
    const std::string path = argv[0];
    const std::string name = path.substr(path.rfind('/') + 1);  // the report's name, too
    std::string url;
    std::string level = "warning";
    for (int index = 1; index < argc; ++index) {
        const std::string argument = argv[index];
        if (argument == "-u" && index + 1 < argc) {
            url = argv[++index];
        } else if (argument.rfind("--loglevel=", 0) == 0) {
            level = argument.substr(argument.find('=') + 1);
        } else if (argument.rfind("++group=", 0) != 0) {
            return Fail(name, "unknown argument \"" + argument + "\"", 2);
        }
    }
    if (url.empty()) {
        return Fail(name, "usage: PLUGIN [++group=GROUP] -u URL [--loglevel=LEVEL]", 2);
    }
    alarm(25);  // kills the plugin if the check hangs
    Report report;
    try {
        report = Check();
    } catch (const std::exception& exception) {
        report.reason = exception.what();
    }
    if (level == "debug") {
        Fail(name, "status " + std::to_string(report.status) + ": " + report.reason, 0);
    }
    const std::string body = ToJson(name, report);
    int status = Post(url, name, body);
    if (status == 0 || status >= 500) {  // a refused report would be refused again
        std::this_thread::sleep_for(std::chrono::seconds(1));
        status = Post(url, name, body);
    }
    if (status != 200) {
        return Fail(
            name,
            "report not stored: " + (status == 0 ? std::string("the intake did not answer")
                                                 : "the intake answered " + std::to_string(status)),
            1);
    }
    return 0;
}
