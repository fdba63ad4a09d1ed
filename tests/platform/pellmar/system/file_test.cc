// Handles, listings, links and new files on real directories.
#include "platform/pellmar/system/file.h"

#include "platform/pellmar/exceptions.h"
#include "platform/pellmar/system/system_factory.h"
#include "support/captured_log.h"
#include "support/descriptors.h"
#include "support/host_directory.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Pellmar::System {
namespace {

namespace fs = std::filesystem;
using Test::TemporaryDirectory;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

template <typename Action>
std::string IOExceptionOf(const Action& action) {
    try {
        action();
    } catch (const IOException& exception) {
        return exception.what();
    }
    return "no IOException";
}

class FileTest : public testing::Test {
  protected:
    Ref<File> At(const std::string& name) const { return SystemFactory::GetFile(In(name)); }
    std::string In(const std::string& name) const { return directory.Path() + name; }
    std::vector<std::string> ListedNames(int limit) const {
        std::vector<std::string> names;
        for (const Ref<File>& entry : SystemFactory::GetFile(directory.Path())->List(limit)) {
            names.emplace_back(entry->GetName());
        }
        return names;
    }

    TemporaryDirectory directory;
};

TEST_F(FileTest, ReportsTheTypeOfAnEntry) {
    ::Test::WriteFile(In("file"), "");
    fs::create_directory(In("folder"));
    fs::create_symlink("folder", In("folder-link"));
    fs::create_symlink("file", In("file-link"));
    fs::create_symlink("nowhere", In("broken-link"));
    const struct {
        const char* name;
        bool exists;
        bool isDirectory;
        bool isSymbolicLink;
    } rows[] = {{"file", true, false, false},       {"folder", true, true, false},
                {"folder-link", true, true, true},  {"file-link", true, false, true},
                {"broken-link", true, false, true}, {"nothing", false, false, false},
                {"file/below", false, false, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(At(row.name)->Exists(), row.exists);
        EXPECT_EQ(At(row.name)->IsDirectory(), row.isDirectory);
        EXPECT_EQ(At(row.name)->IsSymbolicLink(), row.isSymbolicLink);
    }
    EXPECT_FALSE(SystemFactory::GetFile("")->IsDirectory());
}

TEST_F(FileTest, ListsInByteOrderWithoutDescending) {
    fs::create_directory(In("b"));
    for (const char* name : {"b/inner", "a", "B", ".hidden", "\xff", "a-1", "a.b"}) {
        ::Test::WriteFile(In(name), "");
    }
    fs::create_symlink("nowhere", In("link"));
    EXPECT_THAT(ListedNames(-1),
                ElementsAre(".hidden", "B", "a", "a-1", "a.b", "b", "link", "\xff"));
    EXPECT_THAT(ListedNames(2), ElementsAre(".hidden", "B"));
    EXPECT_THAT(ListedNames(0), IsEmpty());
}

TEST_F(FileTest, WritesPiecesOfAnySize) {
    const struct {
        const char* name;
        std::vector<std::size_t> pieces;
    } rows[] = {
        {"nothing", {}},
        {"empty pieces", {0, 0}},
        {"small ones", {300, 1, 511}},
        {"exactly gathered", {65535, 1, 1}},
        {"one over", {65535, 2}},
        {"a large one after small ones", {10, 65536, 10, 1000000}},
        {"many", std::vector<std::size_t>(2000, 512)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::string expected;
        const auto writer = SystemFactory::CreateFileWriter(In("file"), 0);
        for (const std::size_t size : row.pieces) {
            std::string piece(size, '\0');
            for (char& byte : piece) {
                byte = static_cast<char>(expected.size() % 251);
                expected += byte;
            }
            writer->Write(piece.data(), piece.size());
        }
        writer->Close();
        EXPECT_EQ(::Test::ReadFile(In("file")), expected);
    }
}

TEST_F(FileTest, ReportsWhyAFileCannotBeCreated) {
    fs::create_directory(In("folder"));
    ::Test::WriteFile(In("file"), "");
    const struct {
        const char* name;
        const char* reason;
    } rows[] = {
        {"folder", "it is a directory; remove it"},
        {"missing/file", "No such file or directory; create the missing directory"},
        {"file/file", "Not a directory"},
    };
    for (const auto& row : rows) {
        EXPECT_THAT(IOExceptionOf([&] { SystemFactory::CreateFileWriter(In(row.name), 0); }),
                    AllOf(HasSubstr("Cannot create " + In(row.name)), HasSubstr(row.reason)));
    }
    EXPECT_TRUE(At("folder")->IsDirectory());
}

TEST_F(FileTest, ThrowsWhenGatheredBytesCannotBeWritten) {
    const auto writer = SystemFactory::CreateFileWriter(In("file"), 0);
    const ::Test::LoweredLimit limit(RLIMIT_FSIZE, 1000);
    const std::string text(2000, 'x');
    writer->Write(text.data(), text.size());
    EXPECT_THAT(IOExceptionOf([&] { writer->Close(); }),
                AllOf(HasSubstr("Cannot write " + In("file")), HasSubstr("File too large")));
    writer->Close();
}

int ExitStatusUnderStrictUmask() {
    ::umask(077);
    const TemporaryDirectory directory;
    const std::string path = directory.Path() + "file";
    SystemFactory::CreateFileWriter(path, 0)->Close();
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0 && (status.st_mode & 07777) == 0640 ? 0 : 1;
}

TEST(FileWriter, GivesFilesTheirModeUnderAStrictUmask) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // a new process: the umask is asked once
    EXPECT_EXIT(::_exit(ExitStatusUnderStrictUmask()), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace Pellmar::System
