// Walks a report directory and its subdirectories and queries entries without reading them. Does
// not follow links. The publisher decides which entries are reports.
#pragma once

#include <array>
#include <climits>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <dirent.h>

namespace Sentrel {

// Entries come in the order of the file system, a directory before its content. One thread.
class ReportWalk {
  public:
    // Opens nothing yet. `directory` may be relative, with or without a trailing slash.
    explicit ReportWalk(std::string directory);

    // Moves to the next entry. Returns false at the end, and on a failure, which Error returns: a
    // directory that cannot be opened or read ends the whole walk.
    bool Next();
    const std::error_code& Error() const { return error; }

    // The current entry, valid until Next is called. The path starts with the directory as given.
    const std::string& Path() const { return path; }
    std::string_view Name() const { return std::string_view(path).substr(directories.back().size); }

    // Whether the entry itself is a symbolic link. Sets `failure` if that cannot be determined.
    bool IsSymbolicLink(std::error_code& failure);
    // The link's target as stored in the link; NUL-terminated, valid until the next call. Sets
    // `failure` if it cannot be read.
    std::string_view ReadLink(std::error_code& failure);

  private:
    struct DirectoryCloser {
        void operator()(DIR* directory) const;
    };
    struct OpenDirectory {
        std::unique_ptr<DIR, DirectoryCloser> stream;
        std::size_t size;  // of its path, which ends in a slash, at the front of `path`
    };

    bool Enter(int parent, const char* name, int flags);
    // Queries the entry's type if the file system has not reported it.
    void FindType(std::error_code& failure);
    const char* EntryName() const { return path.c_str() + directories.back().size; }

    std::string path;
    std::vector<OpenDirectory> directories;  // the innermost last
    unsigned char type = DT_DIR;             // of the entry; initially of the directory itself
    std::error_code error;
    std::array<char, PATH_MAX> target;
};

}  // namespace Sentrel
