// Files of every kind, read within a bound.
#include "platform/sys/read_file.h"

#include "platform/sys/proc_file.h"
#include "support/descriptors.h"
#include "support/host_directory.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <string>

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

TEST(ReadFile, ReadsAtMostTheBound) {
    const ::Test::TemporaryDirectory directory;
    const std::string path = directory.Path() + "file";
    constexpr std::size_t kManyBytes = 100'000;  // several reads
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{4096}, kManyBytes}) {
        std::string bytes;
        while (bytes.size() < size) {
            bytes += static_cast<char>(bytes.size() % 251);
        }
        ::Test::WriteFile(path, bytes);
        for (const std::size_t limit : {std::size_t{0}, std::size_t{1}, size, size + 1}) {
            std::string text = "what was there before";
            EXPECT_EQ(Sys::ReadRegularFile(path, limit, text), 0);
            EXPECT_EQ(text, bytes.substr(0, limit)) << size << " bytes, bound " << limit;
            for (const std::size_t expected : {size / 2, size, 2 * size}) {  // it may have changed
                Sys::OwnedFd file;
                ASSERT_EQ(Sys::OpenRegularFile(path, file), 0);
                EXPECT_EQ(Sys::ReadAll(file.Get(), limit, text, expected), 0);
                EXPECT_EQ(text, bytes.substr(0, limit)) << "expected " << expected;
            }
        }
    }
}

TEST(ReadFile, RefusesWithoutWaitingWhatIsNotARegularFile) {
    const ::Test::TemporaryDirectory directory;
    const std::string fifo = directory.Path() + "fifo";
    const std::string link = directory.Path() + "link";
    const std::string socketPath = directory.Path() + "socket";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::filesystem::create_symlink(fifo, link);
    const Sys::OwnedFd socket = ::Test::BindAt(socketPath, SOCK_STREAM);
    const struct {
        std::string path;
        int error;
    } rows[] = {
        {fifo, ENXIO},
        {link, ENXIO},
        {socketPath, ENXIO},
        {directory.Path(), ENXIO},
        {"/dev/null", ENXIO},
        {directory.Path() + "missing", ENOENT},
        {"/dev/null/below", ENOTDIR},
    };
    for (const auto& row : rows) {
        std::string text;
        EXPECT_EQ(Sys::ReadRegularFile(row.path, 100, text), row.error) << row.path;
        EXPECT_EQ(text, "") << row.path;
    }
}

TEST(ProcFile, FindsAStatusFieldByItsWholeName) {
    const std::string status = "Name:\tUid:\nGid:\t1\t2\nGroups:\t\nUmask:\t0022";
    const struct {
        std::string name;
        std::string value;
    } rows[] = {{"Name", "Uid:"}, {"Gid", "1\t2"}, {"Groups", ""}, {"Umask", "0022"},
                {"Uid", ""},      {"Group", ""},   {"", ""}};
    for (const auto& row : rows) {
        EXPECT_EQ(Sys::StatusField(status, row.name), row.value) << row.name;
    }
    const std::string own = Sys::ReadProcFile("/proc/self/status");
    EXPECT_EQ(Sys::StatusField(own, "Pid"), std::to_string(::getpid()));
    EXPECT_EQ(Sys::ReadProcFile("/proc/self/status", 5), "Name:");
    EXPECT_EQ(Sys::ReadProcFile("/proc/self/missing"), "");
}

}  // namespace
