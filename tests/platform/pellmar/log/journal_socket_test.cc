// Records as they reach the journal's socket, and what becomes of lines when it takes none.
#include "platform/pellmar/log/log_sink.h"
#include "platform/sys/owned_fd.h"
#include "support/descriptors.h"
#include "support/log_file.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Pellmar::Service {
namespace {

using Test::LogFile;
using Test::StreamName;
using Test::TemporaryDirectory;

// The journal's end of its native protocol.
class JournalReceiver {
  public:
    const std::string& Path() const { return path; }

    // The next record, whichever way it came; empty when there is none.
    std::string Next() const {
        std::string text(1 << 18, '\0');
        alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
        iovec piece{text.data(), text.size()};
        msghdr message{};
        message.msg_iov = &piece;
        message.msg_iovlen = 1;
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        const ssize_t size = ::recvmsg(socket.Get(), &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
        if (size < 0) {
            return {};
        }
        text.resize(static_cast<std::size_t>(size));
        const cmsghdr* const header = CMSG_FIRSTHDR(&message);
        return header == nullptr ? text : ReadSealed(header);
    }

  private:
    static std::string ReadSealed(const cmsghdr* header) {
        int descriptor = -1;
        std::memcpy(&descriptor, CMSG_DATA(header), sizeof(descriptor));
        const Sys::OwnedFd file(descriptor);
        EXPECT_EQ(::fcntl(descriptor, F_GET_SEALS),
                  F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL);
        std::string text(static_cast<std::size_t>(::lseek(descriptor, 0, SEEK_END)), '\0');
        EXPECT_EQ(::pread(descriptor, text.data(), text.size(), 0),
                  static_cast<ssize_t>(text.size()));
        return text;
    }

    TemporaryDirectory directory;
    std::string path = directory.Path() + "socket";
    Sys::OwnedFd socket = Test::BindAt(path, SOCK_DGRAM);
};

TEST(JournalSocket, ReceivesEachMessageAsARecord) {
    const LogFile standardError;
    const std::string large(1'000'000, 'x');  // no datagram takes it
    const struct {
        const char* name;
        int level;
        std::string message;
        LogFields fields;
        std::string rest;
    } rows[] = {
        {"bare", 9, "m", {}, "PRIORITY=7\n"},
        {"all fields",
         5,
         "m",
         {.report = "cpu", .plugin = "p", .pid = 7, .event = LogEvent::Kill},
         "PRIORITY=5\nSENTREL_REPORT=cpu\nSENTREL_PLUGIN=p\nSENTREL_PID=7\n"
         "MESSAGE_ID=bf54e56ffa724e43be40ddf06a9c7291\n"},
        {"forgery",
         3,
         "m",
         {.report = "a\nPRIORITY=0"},
         "PRIORITY=3\nSENTREL_REPORT=a\\x0aPRIORITY=0\n"},
        {"long name",
         3,
         "m",
         {.report = large},
         "PRIORITY=3\nSENTREL_REPORT=" + large.substr(0, 1024) + "\n"},
        {"by memfd", 3, large, {}, "PRIORITY=3\n"},
    };
    const JournalReceiver journal;
    LogSink sink(standardError.Descriptor(), StreamName(standardError.Descriptor()),
                 journal.Path().c_str());
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        sink.Write(row.level, "n", row.message, row.fields);
        std::string record = journal.Next();
        for (const std::string& line :
             {"MESSAGE=" + row.message, std::string("SENTREL_LOGGER=n"),
              std::string("SYSLOG_IDENTIFIER=") + program_invocation_short_name}) {
            const std::size_t start = record.find(line + '\n');
            ASSERT_NE(start, std::string::npos) << line << " in\n" << record.substr(0, 2000);
            record.erase(start, line.size() + 1);
        }
        EXPECT_EQ(record, row.rest);
    }
    EXPECT_EQ(standardError.Text(), "");
}

TEST(JournalSocket, LosesLinesWhenFullAndNoneWhenAbsent) {
    const LogFile standardError;
    auto journal = std::make_unique<JournalReceiver>();
    LogSink sink(standardError.Descriptor(), StreamName(standardError.Descriptor()),
                 journal->Path().c_str());
    for (int i = 0; i < 2000; ++i) {
        sink.Write(5, "n", "m");
    }
    while (!journal->Next().empty()) {
    }
    sink.Write(5, "n", "passes");
    EXPECT_THAT(journal->Next(), testing::StartsWith("MESSAGE=Log lines dropped because"));
    EXPECT_THAT(journal->Next(), testing::StartsWith("MESSAGE=passes\n"));
    journal.reset();
    sink.Write(5, "n", "nobody there");
    EXPECT_EQ(standardError.Text(), "<5>n: nobody there\n");
}

}  // namespace
}  // namespace Pellmar::Service
