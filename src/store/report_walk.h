// The walk over a report directory and its subdirectories, and what can be asked of an entry
// without reading it. Links are not followed. Which entries are reports is the publisher's.
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

// Entries come in the order of the file system, a directory before what is in it. One thread.
class ReportWalk {
  public:
    // Opens nothing yet. `directory` may be relative; a slash at its end may be missing.
    explicit ReportWalk(std::string directory);

    // Goes to the next entry. False at the end, and when the walk cannot go on, which Error tells:
    // a directory that cannot be opened or read ends the whole walk.
    bool Next();
    const std::error_code& Error() const { return error; }

    // Of the entry, until the next Next. The path begins with the directory as it was given.
    const std::string& Path() const { return path; }
    std::string_view Name() const { return std::string_view(path).substr(directories.back().size); }

    // Whether the entry itself is a symbolic link. Sets `failure` when that cannot be found out.
    bool IsSymbolicLink(std::error_code& failure);
    // Where the link points, as it stands there; NUL-terminated, until the next call. Sets
    // `failure` when it cannot be read.
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
    // Makes the entry's type known where the file system leaves it open.
    void FindType(std::error_code& failure);
    const char* EntryName() const { return path.c_str() + directories.back().size; }

    std::string path;
    std::vector<OpenDirectory> directories;  // the innermost last
    unsigned char type = DT_DIR;             // of the entry; the directory itself at first
    std::error_code error;
    std::array<char, PATH_MAX> target;
};

}  // namespace Sentrel
