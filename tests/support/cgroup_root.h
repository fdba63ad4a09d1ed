// A cgroup v2 directory of a test's own, for what SENTREL_CGROUP_ROOT names or a backend begins at.
#pragma once

#include <string>

namespace Test {

// Made empty below the host's cgroup v2 mount. At its end all processes in it are killed, and it is
// removed with the cgroups in it.
class CgroupRoot {
  public:
    CgroupRoot();
    ~CgroupRoot();
    CgroupRoot(const CgroupRoot&) = delete;
    CgroupRoot& operator=(const CgroupRoot&) = delete;

    // Why there is none on this host, to skip the test with; empty when there is one.
    const std::string& Problem() const { return problem; }
    // Absolute, without a slash at its end.
    const std::string& Path() const { return path; }
    // Blocks until no process is left in it. Throws std::runtime_error when that takes too long.
    void WaitUntilEmpty() const;

  private:
    std::string path;
    std::string problem;
};

}  // namespace Test
