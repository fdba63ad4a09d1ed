#include "support/host_directory.h"

#include "support/descriptors.h"
#include "support/network_namespace.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>

#include <sys/mount.h>

namespace Test {
namespace {

std::string WriteEntry(const std::filesystem::path& folder, std::string_view key,
                       std::string_view text) {
    const std::filesystem::path store = folder / "korvex/tabulon/oru/health";
    std::filesystem::create_directories(store);
    const std::filesystem::path file = store / (std::string(key) + ".json");
    WriteFile(file, text);
    return file.string();
}

void Mount(const std::filesystem::path& directory, unsigned long flags,
           const std::string& options) {
    OrThrow(::mount("reports", directory.c_str(), "tmpfs", flags, options.c_str()),
            "mounting at " + directory.string());
}

}  // namespace

HostDirectory::HostDirectory() {
    std::filesystem::create_directories(Root() + "/usr/lib/korvex/sentrel/plugins/bin");
    std::filesystem::create_directory(ReportDirectory());
}

std::filesystem::path HostDirectory::ReportPath(std::string_view fileName) const {
    return std::filesystem::path(ReportDirectory()) / fileName;
}

std::string HostDirectory::WriteStoreEntry(std::string_view key, std::string_view text) const {
    return WriteEntry(Root() + "/etc", key, text);
}

std::string HostDirectory::WriteVendorEntry(std::string_view key, std::string_view text) const {
    return WriteEntry(Root() + "/usr/lib", key, text);
}

std::vector<std::string> HostDirectory::ReportFiles() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(ReportDirectory())) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string HostDirectory::LinkTarget(std::string_view reportName) const {
    std::error_code noLink;
    return std::filesystem::read_symlink(ReportPath(std::string(reportName) + ".json"), noLink)
        .string();
}

std::string HostDirectory::Report(std::string_view reportName) const {
    return ReadFile(ReportPath(std::string(reportName) + ".json"));
}

std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    OrThrow(file ? 0 : -1, "reading " + path.string());
    std::ostringstream text;
    text << file.rdbuf();
    return std::move(text).str();
}

void WriteFile(const std::filesystem::path& path, std::string_view text) {
    std::ofstream file(path, std::ios::binary);
    file << text << std::flush;
    OrThrow(file ? 0 : -1, "writing " + path.string());
}

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

unsigned ModeOf(const std::filesystem::path& path) {
    return static_cast<unsigned>(std::filesystem::symlink_status(path).permissions());
}

MountedDirectory::MountedDirectory(std::filesystem::path directory, std::size_t bytes)
    : directory(std::move(directory)), options("size=" + std::to_string(bytes)) {
    EnterMountNamespace();
    Mount(this->directory, 0, options);
}

MountedDirectory::~MountedDirectory() {
    (void)::umount2(directory.c_str(), MNT_DETACH);  // gone with the namespace otherwise
}

void MountedDirectory::SetAccess(Access access) const {
    Mount(directory, MS_REMOUNT | (access == Access::ReadOnly ? MS_RDONLY : 0), options);
}

}  // namespace Test
