// A directory of a test's own.
#pragma once

#include <string>

namespace Test {

// Made empty, below TMPDIR or /tmp; removed at the end with all that is in it, read-only
// directories too.
class TemporaryDirectory {
  public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    // Absolute, ends in "/".
    const std::string& Path() const { return path; }

  private:
    std::string path;
};

}  // namespace Test
