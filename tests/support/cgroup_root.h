// A cgroup v2 directory of a test's own, for what SENTREL_CGROUP_ROOT names or a backend begins at.
#pragma once

#include <string>

namespace Test {

// Created empty below the host's cgroup v2 mount or, where root finds none to write to, below one
// that only this process sees. At its end all processes in it are killed, and it is removed with
// the cgroups in it.
class CgroupRoot {
  public:
    // Where CI is set and the user is root, throws std::system_error when the hierarchy is mounted
    // but no cgroup can be created in it.
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
