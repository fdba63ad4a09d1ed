// The variable is read once a process, so each row is looked at by a child of its own.
#include "platform/sys/host_root.h"

#include "support/descriptors.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>

namespace {

// What `question` answers in a process whose SENTREL_ROOT is `root`; unset for null.
std::string AskWithRoot(const char* root, const std::function<std::string()>& question) {
    return ::Test::AnswerOfChild([&] {
        (void)(root == nullptr ? unsetenv("SENTREL_ROOT") : setenv("SENTREL_ROOT", root, 1));
        return question();
    });
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

TEST(HostRoot, ReportsWhyItCannotBeUsed) {
    const ::Test::TemporaryDirectory directory;
    const std::string file = directory.Path() + "file";
    std::ofstream(file) << "no directory";
    const std::string missing = directory.Path() + "missing";
    const std::string advice = "; use the absolute path of a directory";
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
        {missing, "cannot use SENTREL_ROOT=" + missing + ": No such file or directory" + advice},
        {file, "SENTREL_ROOT=" + file + " is not a directory" + advice},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(AskWithRoot(row.root.c_str(), [] { return Sys::HostRootProblem(); }), row.problem)
            << row.root;
    }
}

}  // namespace
