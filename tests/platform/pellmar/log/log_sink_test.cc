// Lines as they reach pipes, sockets, terminals and files, and what happens when these take
// nothing.
#include "platform/pellmar/log/log_sink.h"

#include "support/descriptors.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>

#include <array>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Pellmar::Service {
namespace {

using Test::StreamName;
using Test::TemporaryDirectory;
using testing::HasSubstr;

constexpr const char* kNoticeOf2 =
    "<3>sentrel: Log lines dropped because standard error was blocked: 2\n";

// The two ends of a pipe or a pair of sockets; what arrives is read without waiting.
struct Channel {
    Sys::OwnedFd reader;
    Sys::OwnedFd writer;

    static Channel Pipe() {
        Test::Pipe pipe;
        return {std::move(pipe.reader), std::move(pipe.writer)};
    }

    static Channel SocketPair() {
        std::array<int, 2> ends{};
        Test::OrThrow(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()),
                      "socketpair");
        return {Sys::OwnedFd(ends[0]), Sys::OwnedFd(ends[1])};
    }

    std::string Drain() const {
        (void)::fcntl(reader.Get(), F_SETFL, O_NONBLOCK);  // a failure shows as a hanging test
        return Test::ReadToEnd(reader.Get());
    }
};

// Into a journal without a socket, whose lines hold no time.
struct JournalSink : LogSink {
    explicit JournalSink(const Sys::OwnedFd& writer)
        : LogSink(writer.Get(), StreamName(writer.Get()), "/nowhere") {}
};

// Writes lines until one is dropped, and forgets the reader's side of them.
void Fill(LogSink& sink, const Channel& channel, std::string_view lastLine) {
    const std::string line(1000, 'f');
    for (int i = 0; i < 2000; ++i) {
        sink.Write(5, "filler", line);
    }
    sink.Write(5, "last", lastLine);
    EXPECT_THAT(channel.Drain(), testing::Not(HasSubstr(std::string(lastLine))));
}

class LogSinkTest : public testing::Test {
  protected:
    void SetUp() override { previous = std::signal(SIGPIPE, SIG_IGN); }
    void TearDown() override { std::signal(SIGPIPE, previous); }

  private:
    void (*previous)(int) = SIG_DFL;
};

TEST_F(LogSinkTest, WritesTheJournalsFormToTheJournalOnly) {
    const Channel pipe = Channel::Pipe();
    const Channel other = Channel::Pipe();
    const std::string name = StreamName(pipe.writer.Get());
    const struct {
        const char* name;
        std::string journalStream;
        int level;
        const char* start;
    } rows[] = {
        {"its stream", name, 5, "<5>n: m\n"},
        {"level above debug", name, 9, "<7>n: m\n"},
        {"level below emergency", name, -1, "<0>n: m\n"},
        {"stream of a parent", StreamName(other.writer.Get()), 5, "2"},
        {"no stream", "", 5, "2"},
        {"prefix of its name", name.substr(0, name.size() - 1), 5, "2"},
        {"nonsense", ":", 5, "2"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        LogSink sink(pipe.writer.Get(), row.journalStream, "/nowhere");
        sink.Write(row.level, "n", "m");
        EXPECT_THAT(pipe.Drain(), testing::StartsWith(row.start));
    }
}

TEST_F(LogSinkTest, DropsMessagesForAFullPipeOrSocketAndReportsIt) {
    for (const bool isPipe : {true, false}) {
        SCOPED_TRACE(isPipe ? "pipe" : "socket");
        const Channel channel = isPipe ? Channel::Pipe() : Channel::SocketPair();
        JournalSink sink(channel.writer);
        Fill(sink, channel, "lost");
        EXPECT_EQ(::fcntl(channel.writer.Get(), F_GETFL) & O_NONBLOCK, 0) << "others have it, too";
        sink.Write(5, "n", "first that passes");
        const std::string text = channel.Drain();
        EXPECT_THAT(
            text, HasSubstr("<3>sentrel: Log lines dropped because standard error was blocked: "));
        EXPECT_THAT(text, testing::EndsWith("\n<5>n: first that passes\n"));

        sink.Write(5, "n", "second");
        EXPECT_EQ(channel.Drain(), "<5>n: second\n");
    }
}

TEST_F(LogSinkTest, StartsANewLineAfterACutOne) {
    for (const bool isPipe : {true, false}) {
        SCOPED_TRACE(isPipe ? "pipe" : "socket");
        const Channel channel = isPipe ? Channel::Pipe() : Channel::SocketPair();
        JournalSink sink(channel.writer);
        sink.Write(5, "n", std::string(4'000'000, 'x'));
        sink.Write(5, "n", "finds no room");
        const std::string cut = channel.Drain();
        ASSERT_THAT(cut, testing::StartsWith("<5>n: xxx"));
        ASSERT_EQ(cut.back(), 'x');

        sink.Write(5, "n", "whole");
        EXPECT_EQ(channel.Drain(), std::string("\n") + kNoticeOf2 + "<5>n: whole\n");
    }
}

TEST_F(LogSinkTest, DoesNotBlockOnAPipeThatCannotBeReopened) {
    Channel pipe = Channel::Pipe();
    pipe.reader.Reset();  // without a reader, opening for writing fails
    JournalSink sink(pipe.writer);
    const std::string path = "/proc/self/fd/" + std::to_string(pipe.writer.Get());
    pipe.reader.Reset(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    ASSERT_TRUE(pipe.reader.IsOpen());

    sink.Write(5, "n", "fits");
    EXPECT_EQ(pipe.Drain(), "<5>n: fits\n");
    Fill(sink, pipe, "lost");
    sink.Write(5, "n", std::string(100'000, 'x'));
    EXPECT_THAT(pipe.Drain(), HasSubstr("<5>n: xxx"));
    sink.Write(5, "n", "after a cut line");
    EXPECT_THAT(pipe.Drain(), testing::EndsWith("\n<5>n: after a cut line\n"));
}

TEST_F(LogSinkTest, DoesNotBlockOnATerminalThatNobodyReads) {
    const Sys::OwnedFd master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    ASSERT_TRUE(master.IsOpen());
    ASSERT_EQ(::grantpt(master.Get()), 0);
    ASSERT_EQ(::unlockpt(master.Get()), 0);
    std::array<char, 64> name{};
    ASSERT_EQ(::ptsname_r(master.Get(), name.data(), name.size()), 0);
    const Sys::OwnedFd terminal(::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    ASSERT_TRUE(terminal.IsOpen());

    LogSink sink(terminal.Get(), "");
    for (int i = 0; i < 1000; ++i) {  // far more than the terminal keeps
        sink.Write(5, "n", std::string(1000, 'x'));
    }
    EXPECT_EQ(::fcntl(terminal.Get(), F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(LogSinkTest, KeepsLinesOfManyThreadsApart) {
    constexpr int kThreads = 8;
    constexpr int kLines = 200;
    const TemporaryDirectory directory;
    const std::string path = directory.Path() + "log";
    Channel file;
    file.writer.Reset(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    file.reader.Reset(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    JournalSink sink(file.writer);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&sink] {
            for (int line = 0; line < kLines; ++line) {
                sink.Write(5, "n", "message");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::string expected;
    for (int i = 0; i < kThreads * kLines; ++i) {
        expected += "<5>n: message\n";
    }
    EXPECT_EQ(file.Drain(), expected);
}

}  // namespace
}  // namespace Pellmar::Service
