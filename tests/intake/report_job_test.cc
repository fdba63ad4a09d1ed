// What no well-framed request over a socket can bring about: a body longer than it said, and a
// client that is gone at a chosen moment.
#include "intake/report_job.h"

#include "platform/pellmar/exceptions.h"
#include "support/captured_log.h"
#include "support/host_directory.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace {

using Pellmar::MakeRef;
using Pellmar::Ref;
using Pellmar::Service::Logger;
using Sentrel::ReportRoller;
using Sentrel::WriteReport;
using Test::CapturedLog;
using Test::HostDirectory;
using testing::Contains;
using testing::ElementsAre;

constexpr std::size_t kChunk = 512;

// Delivers `bytes` in reads of at most `readSize`.
class ScriptedRequest : public Pellmar::Http::Request, public Pellmar::ObjectImpl {
  public:
    ScriptedRequest(std::string bytes, std::size_t readSize)
        : bytes(std::move(bytes)), readSize(readSize) {}

    const std::string& GetContentType() const override { return contentType; }
    const std::string& GetUrl() const override { return url; }
    bool GetContentLength(std::int64_t&) const override { return false; }
    int ReadBody(char* buffer, std::size_t size) override {
        if (position == bytes.size()) {
            return -1;
        }
        const std::size_t count = std::min({size, readSize, bytes.size() - position});
        std::memcpy(buffer, bytes.data() + position, count);
        position += count;
        return static_cast<int>(count);
    }

  private:
    const std::string bytes;
    const std::size_t readSize;
    std::size_t position = 0;
    const std::string contentType = "application/json";
    const std::string url = "/cpu";
};

// Remembers what was done to it; the client may be gone.
class RecordingResponse : public Pellmar::Http::Response, public Pellmar::ObjectImpl {
  public:
    void Reply(const Pellmar::Http::ResponseCode& code) override {
        calls.push_back("reply " + std::to_string(code.status));
    }
    void SetStatus(const Pellmar::Http::ResponseCode& code) override {
        calls.push_back("status " + std::to_string(code.status));
    }
    void Complete() override {
        calls.push_back("complete");
        if (clientIsGone) {
            throw Pellmar::IOException("the client is gone");
        }
    }

    std::vector<std::string> calls;
    bool clientIsGone = false;
};

struct Job {
    CapturedLog log;
    HostDirectory host;
    Ref<Logger> logger = Logger::CreateLogger(Logger::sDefaultLogger, "SentrelHandler");
    Ref<ReportRoller> roller =
        MakeRef<ReportRoller>(host.ReportDirectory() + "/", "cpu", 3, logger);
    Ref<RecordingResponse> response = MakeRef<RecordingResponse>();

    void Run(const Ref<ScriptedRequest>& request) {
        WriteReport(*request, *response, *roller, logger);
    }
};

TEST(ReportJob, CutsABodyBeforeTheChunkThatCrossesTheBound) {
    const struct {
        std::string what;
        std::size_t bodySize;
        std::size_t readSize;
        std::size_t stored;
    } rows[] = {
        {"full chunks", 1048577, 512, 1048576},
        {"chunks that do not fill the bound", 1048577, 500, 1048500},
        {"more than one chunk over", 2000000, 512, 1048576},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Job job;
        const std::string body(row.bodySize, 'b');
        job.Run(MakeRef<ScriptedRequest>(body, row.readSize));
        EXPECT_EQ(job.host.Report("cpu").size(), row.stored);
        EXPECT_THAT(job.response->calls, ElementsAre("status 413", "complete"));
        EXPECT_THAT(job.log.Lines(), Contains("3 SentrelHandler: Report too large, truncating"));
        EXPECT_FALSE(job.log.Contains("Read end of HTTP body"));
    }
}

TEST(ReportJob, KeepsAReportWhoseAnswerCannotBeSent) {
    Job job;
    job.response->clientIsGone = true;
    job.Run(MakeRef<ScriptedRequest>("body", kChunk));
    EXPECT_EQ(job.host.Report("cpu"), "body");
    EXPECT_EQ(job.log.Lines().back(),
              "3 SentrelHandler: Failed to write to response stream : the client is gone");
}

}  // namespace
