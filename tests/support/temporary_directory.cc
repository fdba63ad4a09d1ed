#include "support/temporary_directory.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <system_error>

namespace Test {

namespace {

namespace fs = std::filesystem;

void MakeWritable(const fs::path& directory) {
    std::error_code ignored;  // what cannot be opened or changed shows in the removal
    fs::permissions(directory, fs::perms::owner_all, fs::perm_options::add, ignored);
    for (const fs::directory_entry& entry : fs::directory_iterator(directory, ignored)) {
        if (entry.is_directory(ignored) && !entry.is_symlink(ignored)) {
            MakeWritable(entry.path());
        }
    }
}

}  // namespace

TemporaryDirectory::TemporaryDirectory() {
    const char* const parent = std::getenv("TMPDIR");
    path =
        std::string(parent != nullptr && *parent == '/' ? parent : "/tmp") + "/sentrel-test-XXXXXX";
    if (::mkdtemp(path.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), "mkdtemp " + path);
    }
    path += '/';
}

TemporaryDirectory::~TemporaryDirectory() {
    MakeWritable(path);
    std::error_code error;
    fs::remove_all(path, error);
    if (error) {
        std::cerr << "cannot remove " << path << ": " << error.message() << '\n';
    }
}

}  // namespace Test
