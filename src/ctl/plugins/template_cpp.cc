#include "ctl/plugins/template.h"

namespace Ctl {

// Not "cpp" as the delimiter, which clang-format would lay out as a part of this file.
const std::string_view kCppPlugin =
    R"source(// @NAME@: a plugin in C++17. It looks at one thing, posts one report and ends. The daemon
// runs it as
//
//   .../@NAME@ ++group=sentrel-plugins,mem=40 -u http://localhost:9996 [--loglevel=info]
//
// with an empty environment, for 30 s at most, after which it is sent SIGTERM. It needs
// no library; linked statically it needs the least memory:
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

// The check. Change it. What it throws is reported with the status unknown.
Report Check() {
    const double warning = 80;
    const double critical = 95;  // % of the limit
    double open = 0;
    double unused = 0;
    double limit = 0;
    std::ifstream file("/proc/sys/fs/file-nr");
    if (!(file >> open >> unused >> limit)) {
        throw std::runtime_error("/proc/sys/fs/file-nr cannot be read");
    }
    const double used = 100 * open / limit;
    Report report;
    report.status = used >= critical ? Error : used >= warning ? Warning : Ok;
    char text[200];
    std::snprintf(text, sizeof text, "%.0f files are open, %.2f %% of the limit", open, used);
    report.reason = text;
    std::snprintf(
        text, sizeof text,
        R"("open": %.0f, "used": {"value": %.2f, "unit": "%%", "warning": %.0f, "critical": %.0f})",
        open, used, warning, critical);
    report.metrics = text;
    return report;
}

// A JSON string. What is not ASCII becomes "?", since it may be no UTF-8.
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
           "}, \"unstructured\": {\"reason\": " + Quoted(report.reason) +
           ", \"metrics\": {" + report.metrics + "}}}";
}

// Sends the request to that port of this host, by either of its addresses. The answer as
// far as it was received; empty when there is none within 8 s a step.
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

// The status of the answer to the report, posted to http://HOST:PORT, which is this host;
// 0 when there is none.
int Post(const std::string& url, const std::string& name, const std::string& body) {
    const std::string host = url.substr(url.rfind('/') + 1);
    const int port = std::atoi(host.c_str() + host.rfind(':') + 1);
    const std::string answer =
        Exchange(port, "POST /" + name + " HTTP/1.1\r\nHost: " + host +
                           "\r\nContent-Type: application/json\r\nConnection: "
                           "close\r\nContent-Length: " +
                           std::to_string(body.size()) + "\r\n\r\n" + body);
    return answer.size() > 12 ? std::atoi(answer.c_str() + 9) : 0;  // behind "HTTP/1.1 "
}

int Fail(const std::string& name, const std::string& text, int status) {
    std::fprintf(stderr, "%s: %s\n", name.c_str(), text.c_str());  // a line for the
                                                                   // daemon's log
    return status;
}

}  // namespace

int main(int argc, char* argv[]) {
    const std::string path = argv[0];
    const std::string name = path.substr(path.rfind('/') + 1);  // the report's, too
    std::string url;
    std::string level = "warning";
    for (int index = 1; index < argc; ++index) {
        const std::string argument = argv[index];
        if (argument == "-u" && index + 1 < argc) {
            url = argv[++index];
        } else if (argument.rfind("--loglevel=", 0) == 0) {
            level = argument.substr(argument.find('=') + 1);
        } else if (argument.rfind("++group=", 0) != 0) {  // the memory that all plugins
                                                          // share
            return Fail(name, "there is no argument \"" + argument + "\"", 2);
        }
    }
    if (url.empty()) {
        return Fail(name, "usage: PLUGIN [++group=GROUP] -u URL [--loglevel=LEVEL]", 2);
    }
    alarm(25);  // whatever happens
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
    if (status == 0 || status >= 500) {  // what is refused is refused again
        std::this_thread::sleep_for(std::chrono::seconds(1));
        status = Post(url, name, body);
    }
    if (status != 200) {
        return Fail(name,
                    "the report is not stored: " +
                        (status == 0 ? std::string("there is no answer")
                                     : "the answer is " + std::to_string(status)),
                    1);
    }
    return 0;
}
)source";

}  // namespace Ctl
