// The intake's handler behind the real HTTP service, over real sockets and a real report directory.
#include "intake/running_intake.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Test::HttpClient;
using Test::HttpResponse;
using Test::PostRequest;
using Test::RawConnection;
using Test::ReadFile;
using Test::RunningIntake;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::string_view kJson = "Content-Type: application/json\r\n";

// What `request` is answered with, on a connection of its own; 0 without an answer.
int StatusOf(std::string_view request) {
    RawConnection connection;
    EXPECT_TRUE(connection.Send(request));
    const std::optional<HttpResponse> response = connection.ReadResponse();
    EXPECT_TRUE(response && response->body.empty());
    return response ? response->status : 0;
}

std::string Post(std::string_view path, std::string_view fields, std::string_view body = "") {
    return "POST " + std::string(path) + " HTTP/1.1\r\n" + std::string(fields) + "\r\n" +
           std::string(body);
}

TEST(SentrelHandler, StoresAPostAndTellsEachStep) {
    const RunningIntake intake;
    const std::size_t before = intake.HandlerLineCount();
    const std::string body(200, 'b');
    EXPECT_EQ(HttpClient().Post("/plugins/cpu", body), 200);
    EXPECT_EQ(intake.Host().Report("cpu"), body);
    EXPECT_THAT(
        intake.HandlerLinesFrom(before),
        ElementsAre("6 Report Name: /plugins/cpu", "5 Report Path: " + intake.PathOf("cpu"),
                    "7 Report symlink-name: " + intake.PathOf("cpu.json"),
                    "7 Report name: cpu, base directory: " + intake.Directory(),
                    "7 Created report rotation and workqueue object for report name: cpu",
                    "7 Index: 0", "6 Temporary report name: " + intake.PathOf(".cpu-0.json"),
                    "7 Read end of HTTP body", "7 Rotated filename: cpu-0.json"));
}

TEST(SentrelHandler, FindsWhatBelongsToANameAgain) {
    const RunningIntake intake;
    HttpClient client;
    EXPECT_EQ(client.Post("/plugins/cpu", "first"), 200);
    const std::size_t before = intake.HandlerLineCount();
    EXPECT_EQ(client.Post("cpu", "second"), 200);  // a target without any "/"
    EXPECT_EQ(intake.Host().Report("cpu"), "second");
    EXPECT_THAT(
        intake.HandlerLinesFrom(before),
        ElementsAre("6 Report Name: cpu", "5 Report Path: " + intake.PathOf("cpu"),
                    "7 Retrieved report rotation and workqueue object for report name: cpu",
                    "7 Index: 1", "6 Temporary report name: " + intake.PathOf(".cpu-1.json"),
                    "7 Read end of HTTP body", "7 Rotated filename: cpu-1.json"));
}

TEST(SentrelHandler, RefusesByTheFirstCheckThatFails) {
    const RunningIntake intake;
    const std::string badName = "Error opening directory " + intake.Directory() + ": '";
    const std::string rule = "' contains unexpected regex meta characters" + std::string(19, ' ') +
                             "(expected regex '[a-zA-Z0-9_.-]+')";
    const std::string json(kJson);
    const struct {
        std::string what;
        std::string request;
        int status;
        std::string failure;
    } rows[] = {
        {"another type", Post("/cpu", "Content-Type: text/plain\r\nContent-Length: 1\r\n", "x"),
         400, "Unsupported content type received text/plain"},
        {"type with a parameter",
         Post("/cpu", "Content-Type: application/json; charset=utf-8\r\nContent-Length: 1\r\n",
              "x"),
         400, "Unsupported content type received application/json; charset=utf-8"},
        {"type in capitals",
         Post("/cpu", "Content-Type: Application/JSON\r\nContent-Length: 1\r\n", "x"), 400,
         "Unsupported content type received Application/JSON"},
        {"no type", Post("/cpu", "Content-Length: 1\r\n", "x"), 400,
         "Unsupported content type received "},
        {"everything wrong", Post("/", ""), 400, "Unsupported content type received "},
        {"root", Post("/", json + "Content-Length: 1\r\n", "x"), 206,
         "URL does not contain report name"},
        {"root with a query", Post("/?name=cpu", json + "Content-Length: 1\r\n", "x"), 206,
         "URL does not contain report name"},
        {"empty path", Post("http://localhost", json + "Content-Length: 1\r\n", "x"), 206,
         "URL does not contain report name"},
        {"root without a length", Post("/", json), 206, "URL does not contain report name"},
        {"no length", Post("/cpu", json), 411, "Report length header required"},
        {"chunked", Post("/cpu", json + "Transfer-Encoding: chunked\r\n", "1\r\nx\r\n0\r\n\r\n"),
         411, "Report length header required"},
        {"bad name without a length", Post("/c+u", json), 411, "Report length header required"},
        {"one byte too long", Post("/cpu", json + "Content-Length: 1048577\r\n"), 413,
         "Report too large: 1048577"},
        {"beyond 63 bits", Post("/cpu", json + "Content-Length: 99999999999999999999\r\n"), 413,
         "Report too large: 9223372036854775807"},
        {"bad name, too long", Post("/c+u", json + "Content-Length: 1048577\r\n"), 413,
         "Report too large: 1048577"},
        {"bad name", Post("/c+u", json + "Content-Length: 1\r\n", "x"), 500,
         badName + "c+u" + rule},
        {"empty name", Post("/cpu/", json + "Content-Length: 1\r\n", "x"), 500, badName + rule},
        {"encoded blank", Post("/cpu%20load", json + "Content-Length: 1\r\n", "x"), 500,
         badName + "cpu%20load" + rule},
    };
    std::vector<std::string> failures;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(StatusOf(row.request), row.status);
        failures.push_back(row.failure);
        EXPECT_EQ(intake.Failures(), failures);
    }
    EXPECT_THAT(intake.Host().ReportFiles(), IsEmpty());
}

TEST(SentrelHandler, LeavesOtherMethodsToTheFramework) {
    const RunningIntake intake;
    const std::size_t before = intake.HandlerLineCount();
    for (const std::string method : {"GET", "PUT", "DELETE"}) {
        SCOPED_TRACE(method);
        EXPECT_EQ(StatusOf(method + " /cpu HTTP/1.1\r\n" + std::string(kJson) +
                           "Content-Length: 0\r\n\r\n"),
                  405);
    }
    EXPECT_THAT(intake.HandlerLinesFrom(before), IsEmpty());
    EXPECT_THAT(intake.Host().ReportFiles(), IsEmpty());
}

TEST(SentrelHandler, TakesBodiesFromNothingUpToTheBound) {
    const RunningIntake intake;
    HttpClient client;
    for (const std::size_t size : {0U, 1U, 511U, 512U, 513U, 1048576U}) {
        SCOPED_TRACE(size);
        std::string body(size, '\0');
        for (std::size_t i = 0; i < size; ++i) {
            body[i] = static_cast<char>(i * 31 + i / 512);
        }
        EXPECT_EQ(client.Post("/cpu", body), 200);
        EXPECT_TRUE(intake.Host().Report("cpu") == body);  // too long to show
    }
    EXPECT_THAT(intake.Failures(), IsEmpty());
}

TEST(SentrelHandler, TriesTheReportDirectoryAgainAtTheNextPost) {
    const RunningIntake intake;
    std::filesystem::remove(intake.Directory());
    HttpClient client;
    EXPECT_EQ(client.Post("/cpu", "lost"), 500);
    EXPECT_THAT(intake.Failures(),
                ElementsAre("Invalid directory: " + intake.Directory(),
                            "Error opening directory " + intake.Directory() + ": '" +
                                intake.Directory() + "' is not a directory"));

    std::filesystem::create_directory(intake.Directory());
    EXPECT_EQ(client.Post("/cpu", "kept"), 200);
    EXPECT_EQ(intake.Host().Report("cpu"), "kept");
}

TEST(SentrelHandler, AnswersThatAReportCannotBeCreated) {
    const RunningIntake intake;
    std::filesystem::create_directory(intake.PathOf(".cpu-0.json"));
    HttpClient client;
    EXPECT_EQ(client.Post("/cpu", "lost"), 500);
    const std::vector<std::string> failures = intake.Failures();
    ASSERT_EQ(failures.size(), 2U);
    EXPECT_TRUE(failures[0].starts_with("Caught "));
    EXPECT_EQ(failures[1], "Creation of report failed");

    EXPECT_EQ(client.Post("/cpu", "kept"), 200);
    EXPECT_EQ(intake.Host().LinkTarget("cpu"), intake.PathOf("cpu-1.json"));
}

TEST(SentrelHandler, AnswersAFailedMoveLikeASuccess) {
    const RunningIntake intake;
    HttpClient client;
    EXPECT_EQ(client.Post("/cpu", "first"), 200);
    std::filesystem::create_directory(intake.PathOf("cpu-1.json"));
    EXPECT_EQ(client.Post("/cpu", "second"), 200);
    EXPECT_THAT(intake.Failures(),
                ElementsAre("Failed to rename the file to " + intake.PathOf("cpu-1.json")));
    EXPECT_EQ(intake.Host().Report("cpu"), "first");
    EXPECT_EQ(ReadFile(intake.PathOf(".cpu-1.json")), "second");
}

TEST(SentrelHandler, LetsASlowPostHoldUpOnlyItsOwnName) {
    const RunningIntake intake;
    const std::string slow = PostRequest("/cpu", "slow report");
    RawConnection first;
    ASSERT_TRUE(first.Send(slow.substr(0, slow.size() - 1)));
    ASSERT_TRUE(intake.Log().WaitFor("Temporary report name: " + intake.PathOf(".cpu-0.json")));
    RawConnection second;
    ASSERT_TRUE(second.Send(PostRequest("/cpu", "quick report")));
    ASSERT_TRUE(intake.Log().WaitFor("Retrieved report rotation"));

    EXPECT_EQ(HttpClient().Post("/mem", "other name"), 200);
    EXPECT_EQ(intake.Host().Report("mem"), "other name");
    EXPECT_EQ(intake.Host().LinkTarget("cpu"), "");  // neither is committed

    ASSERT_TRUE(first.Send(slow.substr(slow.size() - 1)));
    EXPECT_EQ(first.ReadResponse().value().status, 200);
    EXPECT_EQ(second.ReadResponse().value().status, 200);
    EXPECT_EQ(ReadFile(intake.PathOf("cpu-0.json")), "slow report");
    EXPECT_EQ(ReadFile(intake.PathOf("cpu-1.json")), "quick report");
    EXPECT_EQ(intake.Host().LinkTarget("cpu"), intake.PathOf("cpu-1.json"));
}

}  // namespace
