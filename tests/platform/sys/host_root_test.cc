// The variable is read once a process, so each row is looked at by a child of its own.
#include "platform/sys/host_root.h"

#include "platform/sys/owned_fd.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// What `question` answers in a process whose SENTREL_ROOT is `root`; unset for null.
std::string AskWithRoot(const char* root, const std::function<std::string()>& question) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return "no pipe";
    }
    Sys::OwnedFd reading(ends[0]);
    Sys::OwnedFd writing(ends[1]);
    const pid_t child = fork();
    if (child == 0) {
        (void)(root == nullptr ? unsetenv("SENTREL_ROOT") : setenv("SENTREL_ROOT", root, 1));
        const std::string answer = question();
        const ssize_t written = write(writing.Get(), answer.data(), answer.size());
        _exit(written == static_cast<ssize_t>(answer.size()) ? 0 : 1);
    }
    writing.Reset();
    std::string answer;
    char piece[256];
    for (ssize_t count; (count = read(reading.Get(), piece, sizeof(piece))) > 0;) {
        answer.append(piece, static_cast<std::size_t>(count));
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status == 0 ? answer : "the child failed";
}

TEST(HostRoot, PutsAbsolutePathsBelowTheRoot) {
    struct Row {
        const char* root;
        const char* path;
        const char* expected;
    };
    const Row rows[] = {
        {nullptr, "/etc/korvex", "/etc/korvex"},
        {"", "/etc/korvex", "/etc/korvex"},
        {"/", "/etc/korvex", "/etc/korvex"},
        {"///", "/etc/korvex", "/etc/korvex"},
        {"/", "/", "/"},
        {"/srv/host", "/etc/x/", "/srv/host/etc/x/"},
        {"/srv/host//", "/etc/x", "/srv/host/etc/x"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(AskWithRoot(row.root, [&row] { return Sys::HostPath(row.path); }), row.expected)
            << (row.root == nullptr ? "unset" : row.root);
    }
}

TEST(HostRoot, TellsWhyItCannotBeUsed) {
    const ::Test::TemporaryDirectory directory;
    const std::string file = directory.Path() + "file";
    std::ofstream(file) << "no directory";
    const std::string missing = directory.Path() + "missing";
    const std::string advice = "; set it to the absolute path of a directory, or unset it";
    struct Row {
        std::string root;
        std::string problem;
    };
    const Row rows[] = {
        {"", ""},
        {"/", ""},
        {directory.Path(), ""},
        {"host", "SENTREL_ROOT=host is a relative path" + advice},
        {"./", "SENTREL_ROOT=. is a relative path" + advice},
        {missing,
         "SENTREL_ROOT=" + missing + " cannot be used: No such file or directory" + advice},
        {file, "SENTREL_ROOT=" + file + " is not a directory" + advice},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(AskWithRoot(row.root.c_str(), Sys::HostRootProblem), row.problem) << row.root;
    }
}

}  // namespace
