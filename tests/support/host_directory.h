// A host in a temporary directory: a root with entries of the configuration store, and a report
// directory whose ring and links tests look at. Also small file systems that fill up or refuse to
// be written.
#pragma once

#include "support/temporary_directory.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace Test {

// Removed with everything in it when the object goes.
class HostDirectory {
  public:
    // A root with nothing but an empty plugin directory, beside an empty report directory.
    HostDirectory();

    // What holds both.
    const std::string& Base() const { return directory.Path(); }
    // What SENTREL_ROOT names.
    std::string Root() const { return Base() + "root"; }
    // Without a slash at its end.
    std::string ReportDirectory() const { return Base() + "reports"; }
    std::filesystem::path ReportPath(std::string_view fileName) const;

    // Writes the host's values of an entry of group "health" and component "oru". `text` need not
    // be JSON. Gives the file's path.
    std::string WriteStoreEntry(std::string_view key, std::string_view text) const;
    // The same for the vendor's defaults.
    std::string WriteVendorEntry(std::string_view key, std::string_view text) const;

    // The names in the report directory, sorted, "." and ".." left out.
    std::vector<std::string> ReportFiles() const;
    // Where the link of that report name points; empty when there is no link.
    std::string LinkTarget(std::string_view reportName) const;
    // What is read through the link of that report name. Throws std::system_error when it can't be.
    std::string Report(std::string_view reportName) const;

  private:
    const TemporaryDirectory directory;
};

// Throw std::system_error.
std::string ReadFile(const std::filesystem::path& path);
void WriteFile(const std::filesystem::path& path, std::string_view text);

// Without their ends.
std::vector<std::string> LinesOf(const std::string& text);
// The bits that chmod sets, of a link itself; 65535 when nothing is there.
unsigned ModeOf(const std::filesystem::path& path);

// A file system in memory at a directory, seen by this process and its children alone; what was in
// the directory is hidden as long as the object lives. After EnterNetworkNamespace.
class MountedDirectory {
  public:
    // Room for `bytes`, a multiple of 4096.
    MountedDirectory(std::filesystem::path directory, std::size_t bytes);
    ~MountedDirectory();
    MountedDirectory(const MountedDirectory&) = delete;
    MountedDirectory& operator=(const MountedDirectory&) = delete;

    enum class Access { ReadOnly, ReadWrite };
    void SetAccess(Access access) const;

  private:
    const std::filesystem::path directory;
    const std::string options;
};

}  // namespace Test
