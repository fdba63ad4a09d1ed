// What a plugin gets for each kind of request, and what the log says about it. Requests that are no
// HTTP or break off are left to bad_input_test.cc.
#include "support/http_client.h"
#include "support/scenario.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

namespace {

using ::Test::HttpClient;
using ::Test::HttpResponse;
using ::Test::PostRequest;
using ::Test::RawConnection;
using ::Test::ReadFile;
using ::Test::ReportDocument;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kJson[] = "Content-Type: application/json\r\n";

class IntakeAnswers : public ::Test::Scenario {
  protected:
    std::string Directory() const { return host.ReportDirectory() + "/"; }

    // The response to `request` on a connection of its own.
    static std::optional<HttpResponse> Ask(const std::string& request) {
        RawConnection connection;
        connection.Send(request);
        return connection.ReadResponse();
    }
};

// A request to `target` with `fields` and a body of four bytes, whose length the fields tell.
std::string Post(const std::string& target, const std::string& fields) {
    return "POST " + target + " HTTP/1.1\r\nHost: localhost\r\n" + fields + "\r\n1234";
}

struct Exchange {
    const char* name;
    std::string request;
    int status;
    // The message of level 3 of the handler, if there is one.
    std::string message;
};

void ExpectDefaultHeaders(const HttpResponse& response) {
    EXPECT_EQ(response.Field("Content-Length"), "0");
    EXPECT_EQ(response.Field("Cache-Control"), "no-store");
    EXPECT_NE(response.Field("Server"), "");
    EXPECT_THAT(response.Field("Date"), testing::EndsWith(" GMT"));
}

TEST_F(IntakeAnswers, StoresPostsToAnyPath) {
    const std::string length = "Content-Length: 4\r\n";
    const std::vector<Exchange> rows = {
        {"one segment", Post("/stored", kJson + length), 200, ""},
        {"no slash", Post("stored", kJson + length), 200, ""},
        {"query", Post("/stored?of=/other", kJson + length), 200, ""},
        {"absolute form", Post("http://localhost:9996/a/stored", kJson + length), 200, ""},
        {"blanks around values", Post("/stored", "Content-Type: \t application/json \r\n" + length),
         200, ""},
        {"no host", "POST /stored HTTP/1.1\r\n" + std::string(kJson) + length + "\r\n1234", 200,
         ""},
        {"empty line first", "\r\n" + Post("/stored", kJson + length), 200, ""},
        {"HTTP/1.0", "POST /stored HTTP/1.0\r\n" + std::string(kJson) + length + "\r\n1234", 200,
         ""},
        {"end of connection", Post("/stored", "Connection: close\r\n" + (kJson + length)), 200, ""},
    };
    Start();
    for (const Exchange& row : rows) {
        SCOPED_TRACE(row.name);
        std::filesystem::remove(host.ReportPath("stored.json"));
        const auto response = Ask(row.request);
        ASSERT_TRUE(response.has_value());
        EXPECT_EQ(response->status, row.status);
        ExpectDefaultHeaders(*response);
        EXPECT_EQ(host.Report("stored"), "1234");
    }
    EXPECT_THAT(LogFrom(0, "3 SentrelHandler"), IsEmpty());
    EXPECT_THAT(host.ReportFiles(),
                ElementsAre("stored-0.json", "stored-1.json", "stored-2.json", "stored.json"));
}

TEST_F(IntakeAnswers, RefusesInTheOrderOfTheChecks) {
    const std::string length = "Content-Length: 4\r\n";
    const std::string type = "Unsupported content type received ";
    const std::string noName = "URL does not contain report name";
    const std::string noLength = "Report length header required";
    const std::string largest = "9223372036854775807";
    const std::vector<Exchange> rows = {
        {"no type", Post("/", ""), 400, type},
        {"other type", Post("/", "Content-Type: text/plain\r\n"), 400, type + "text/plain"},
        {"parameters", Post("/cpu", "Content-Type: application/json; charset=utf-8\r\n" + length),
         400, type + "application/json; charset=utf-8"},
        {"type that is no text", Post("/cpu", "Content-Type: \xC3\xA9\xFF%1\r\n" + length), 400,
         type + "\xC3\xA9\\xff%1"},
        {"root", Post("/", kJson), 206, noName},
        {"absolute form without path", Post("http://localhost:9996", kJson + length), 206, noName},
        {"no length", Post("/cpu", kJson), 411, noLength},
        {"chunked", Post("/cpu", std::string(kJson) + "Transfer-Encoding: chunked\r\n"), 411,
         noLength},
        {"chunked with a length", Post("/cpu", kJson + length + "Transfer-Encoding: chunked\r\n"),
         411, noLength},
        {"bad name, too long", Post("/c+u", std::string(kJson) + "Content-Length: 1048577\r\n"),
         413, "Report too large: 1048577"},
        {"64 bits", Post("/cpu", std::string(kJson) + "Content-Length: 9223372036854775808\r\n"),
         413, "Report too large: " + largest},
        {"65 bits", Post("/cpu", std::string(kJson) + "Content-Length: 18446744073709551620\r\n"),
         413, "Report too large: " + largest},
        {"name with a blank", Post("/cpu%20load", kJson + length), 500,
         "Error opening directory " + Directory() +
             ": 'cpu%20load' contains unexpected regex meta characters                   (expected "
             "regex '[a-zA-Z0-9_.-]+')"},
        {"empty name", Post("/cpu/", kJson + length), 500,
         "Error opening directory " + Directory() +
             ": '' contains unexpected regex meta characters                   (expected regex "
             "'[a-zA-Z0-9_.-]+')"},
    };
    Start();
    for (const Exchange& row : rows) {
        SCOPED_TRACE(row.name);
        const std::size_t logged = daemon->LogLines().size();
        const auto response = Ask(row.request);
        ASSERT_TRUE(response.has_value());
        EXPECT_EQ(response->status, row.status);
        ExpectDefaultHeaders(*response);
        EXPECT_THAT(LogFrom(logged, "3 "), ElementsAre("3 SentrelHandler: " + row.message));
    }
    EXPECT_THAT(host.ReportFiles(), IsEmpty());
}

TEST_F(IntakeAnswers, RefusesOtherMethods) {
    Start();
    for (const char* const method : {"GET", "HEAD", "PUT", "DELETE", "OPTIONS", "PATCH", "post"}) {
        for (const char* const length : {"", "Content-Length: 4\r\n"}) {
            SCOPED_TRACE(std::string(method) + " " + length);
            RawConnection connection;
            connection.Send(std::string(method) + " /cpu HTTP/1.1\r\n" + kJson + length + "\r\n");
            const auto response = connection.ReadResponse();
            ASSERT_TRUE(response.has_value());
            EXPECT_EQ(response->status, 405);
            EXPECT_EQ(response->Field("Allow"), "POST");
            ExpectDefaultHeaders(*response);
            EXPECT_EQ(response->ClosesConnection(), *length != '\0');
        }
    }
    EXPECT_THAT(host.ReportFiles(), IsEmpty());
    EXPECT_EQ(daemon->CountLog("SentrelHandler: Created"), 0U);
}

TEST_F(IntakeAnswers, LogsThePathOfAReport) {
    Start();
    HttpClient client;
    const std::size_t first = daemon->LogLines().size();
    ASSERT_EQ(client.Post("/plugins/cpu", "{}"), 200);
    const std::string prefix = " SentrelHandler: ";
    EXPECT_THAT(
        LogFrom(first, ""),
        ElementsAre(
            "6" + prefix + "Report Name: /plugins/cpu",
            "5" + prefix + "Report Path: " + Directory() + "cpu",
            "7" + prefix + "Report symlink-name: " + Directory() + "cpu.json",
            "7" + prefix + "Report name: cpu, base directory: " + Directory(),
            "7" + prefix + "Created report rotation and workqueue object for report name: cpu",
            "7" + prefix + "Index: 0",
            "6" + prefix + "Temporary report name: " + Directory() + ".cpu-0.json",
            "7" + prefix + "Read end of HTTP body", "7" + prefix + "Rotated filename: cpu-0.json"));
    const std::size_t second = daemon->LogLines().size();
    ASSERT_EQ(client.Post("/cpu", "{}"), 200);
    EXPECT_THAT(
        LogFrom(second, ""),
        ElementsAre(
            "6" + prefix + "Report Name: /cpu",
            "5" + prefix + "Report Path: " + Directory() + "cpu",
            "7" + prefix + "Retrieved report rotation and workqueue object for report name: cpu",
            "7" + prefix + "Index: 1",
            "6" + prefix + "Temporary report name: " + Directory() + ".cpu-1.json",
            "7" + prefix + "Read end of HTTP body", "7" + prefix + "Rotated filename: cpu-1.json"));
}

TEST_F(IntakeAnswers, KeepsTheConnectionAndAnswersInOrder) {
    Start();
    RawConnection connection;
    connection.Send(PostRequest("/first", ReportDocument("first", 70'000)) + PostRequest("/", "") +
                    "GET /first HTTP/1.1\r\n\r\n" + PostRequest("/second", "{}") +
                    PostRequest("/a%b", "") + PostRequest("/first", "[]"));
    std::vector<int> statuses;
    for (int count = 0; count < 6; ++count) {
        const auto response = connection.ReadResponse();
        ASSERT_TRUE(response.has_value()) << count;
        statuses.push_back(response->status);
    }
    EXPECT_THAT(statuses, ElementsAre(200, 206, 405, 200, 500, 200));
    EXPECT_EQ(ReadFile(host.ReportPath("first-0.json")), ReportDocument("first", 70'000));
    EXPECT_EQ(host.Report("first"), "[]");
    EXPECT_EQ(host.Report("second"), "{}");
}

TEST_F(IntakeAnswers, NeverTakesABodyForARequest) {
    const std::string inner = PostRequest("/smuggled", "{}");
    const std::string length = "Content-Length: " + std::to_string(inner.size()) + "\r\n";
    const std::vector<Exchange> rows = {
        {"root", "POST / HTTP/1.1\r\n" + (kJson + length), 206, ""},
        {"too large", "POST /cpu HTTP/1.1\r\n" + std::string(kJson) + "Content-Length: 1048577\r\n",
         413, ""},
        {"chunked",
         "POST /cpu HTTP/1.1\r\n" + std::string(kJson) + "Transfer-Encoding: chunked\r\n", 411, ""},
        {"chunked and length",
         "POST /cpu HTTP/1.1\r\n" + std::string(kJson) +
             "Transfer-Encoding: chunked\r\nContent-Length: 0\r\n",
         411, ""},
        {"two lengths",
         "POST /cpu HTTP/1.1\r\n" + std::string(kJson) + "Content-Length: 0\r\n" + length, 400, ""},
        {"end of connection", "POST /cpu HTTP/1.1\r\nConnection: close\r\nContent-Length: 0\r\n",
         400, ""},
    };
    Start();
    for (const Exchange& row : rows) {
        SCOPED_TRACE(row.name);
        RawConnection connection;
        connection.Send(row.request + "\r\n" + inner);
        const auto response = connection.ReadResponse();
        ASSERT_TRUE(response.has_value());
        EXPECT_EQ(response->status, row.status);
        EXPECT_TRUE(response->ClosesConnection());
        EXPECT_EQ(connection.ReadUntilClosed(), "");
    }
    EXPECT_EQ(daemon->CountLog("smuggled"), 0U);
    EXPECT_THAT(host.ReportFiles(), IsEmpty());
}

TEST_F(IntakeAnswers, InvitesTheBodyOfAnAcceptedRequestOnly) {
    const std::string head = "Expect: 100-continue\r\nContent-Length: 4\r\n\r\n";
    Start();
    RawConnection accepted;
    accepted.Send("POST /cpu HTTP/1.1\r\n" + (kJson + head));
    EXPECT_EQ(accepted.ReadResponse()->status, 100);
    accepted.Send("1234");
    EXPECT_EQ(accepted.ReadResponse()->status, 200);
    EXPECT_EQ(host.Report("cpu"), "1234");

    RawConnection refused;
    refused.Send("POST /cpu HTTP/1.1\r\n" + head);
    const auto response = refused.ReadResponse();
    ASSERT_TRUE(response.has_value());
    EXPECT_EQ(response->status, 400);
    EXPECT_TRUE(response->ClosesConnection());
}

TEST_F(IntakeAnswers, AcceptsReportsOfUpToOneMebibyte) {
    Start();
    HttpClient client;
    for (const std::size_t size : {0U, 1U, 511U, 512U, 513U, 65'536U, 1'048'576U}) {
        SCOPED_TRACE(size);
        const std::string body(size, 'x');
        ASSERT_EQ(client.Post("/cpu", body), 200);
        EXPECT_EQ(host.Report("cpu"), body);
    }
}

}  // namespace
