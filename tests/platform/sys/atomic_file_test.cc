// Files that are created as a whole; what replacing keeps is seen where settings are set.
#include "platform/sys/atomic_file.h"

#include "support/host_directory.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <iterator>
#include <string>
#include <system_error>

namespace {

namespace Files = std::filesystem;

TEST(CreateFile, ReplacesNothingAndLeavesNoOtherFile) {
    const ::Test::TemporaryDirectory directory;
    const std::string file = directory.Path() + "file";
    const std::string link = directory.Path() + "link";
    Sys::CreateFile(file, "first", 0751);
    Files::create_symlink("nothing", link);
    for (const std::string& taken : {file, link}) {
        try {
            Sys::CreateFile(taken, "second", 0644);
            ADD_FAILURE() << taken << " was replaced";
        } catch (const std::system_error& error) {
            EXPECT_EQ(error.code().value(), EEXIST) << error.what();
        }
    }
    EXPECT_EQ(::Test::ReadFile(file), "first");
    EXPECT_EQ(Files::status(file).permissions(), Files::perms(0751));
    EXPECT_TRUE(Files::is_symlink(link));
    EXPECT_EQ(std::distance(Files::directory_iterator(directory.Path()), {}), 2);
}

}  // namespace
