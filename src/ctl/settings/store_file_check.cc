#include "ctl/settings/store_file_check.h"

#include "ctl/show/near_names.h"
#include "platform/sys/host_root.h"
#include "plugins/discovery.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <sys/stat.h>

namespace Ctl {

namespace {

constexpr std::string_view kEnding = ".json";

bool Look(const std::string& path, struct stat& status) {
    return ::stat(path.c_str(), &status) == 0;
}

// Root; and for a host root in a user's directory, the owner of that directory.
bool IsTrusted(uid_t user) {
    struct stat root{};
    return user == 0 || (Look(Sys::HostPath("/"), root) && user == root.st_uid);
}

std::string Octal(mode_t mode) {
    std::array<char, 16> text{};
    (void)std::snprintf(text.data(), text.size(), "%04o", mode & 07777U);  // it fits
    return text.data();
}

void CheckAccess(const std::string& path, std::vector<Finding>& findings) {
    struct stat status{};
    if (!Look(Sys::HostPath(path), status)) {
        return;
    }
    const bool isDirectory = S_ISDIR(status.st_mode);
    if (!IsTrusted(status.st_uid)) {
        findings.push_back(
            {Severity::Warning, Sys::HostPath(path),
             "belongs to the user " + std::to_string(status.st_uid) + ", who can change settings",
             "chown root: " + Sys::HostPath(path)});
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        findings.push_back({Severity::Warning, Sys::HostPath(path),
                            "has mode " + Octal(status.st_mode) +
                                ": users other than its owner can change settings",
                            "chmod go-w " + Sys::HostPath(path)});
    }
    const mode_t needed = isDirectory ? S_IROTH | S_IXOTH : S_IROTH;
    if (status.st_uid == 0 && (status.st_mode & needed) != needed) {
        findings.push_back(
            {Severity::Warning, Sys::HostPath(path),
             "has mode " + Octal(status.st_mode) + ": a daemon that is not root cannot read it",
             std::string("chmod o+r") + (isDirectory ? "x " : " ") + Sys::HostPath(path)});
    }
}

std::vector<std::string> NamesIn(const std::string& directory) {
    std::vector<std::string> names;
    std::error_code error;  // missing files have no fault, and CheckAccess reports the others
    for (std::filesystem::directory_iterator entry(Sys::HostPath(directory), error), end;
         !error && entry != end; entry.increment(error)) {
        names.push_back(entry->path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

// Whether an interrupted change left this file: "cpu.json" with a dot and six more characters.
bool IsLeftOver(std::string_view name) {
    constexpr std::size_t kRandomCharacters = 6;
    if (name.size() < kEnding.size() + 1 + kRandomCharacters) {
        return false;
    }
    const std::string_view random = name.substr(name.size() - kRandomCharacters);
    name.remove_suffix(kRandomCharacters);
    return name.ends_with(std::string(kEnding) + ".") &&
           std::all_of(random.begin(), random.end(),
                       [](unsigned char character) { return std::isalnum(character) != 0; });
}

class FolderCheck {
  public:
    FolderCheck(const Catalogue& catalogue, std::vector<Finding>& findings)
        : catalogue(catalogue), findings(findings) {
        for (const SettingEntry& entry : catalogue.entries) {
            Know(entry.entry);
            names.push_back(entry.name);
        }
        for (const std::string& name : catalogue.hiddenPlugins) {
            Know(Sentrel::EntryOfPlugin(name));
        }
    }

    void Run(const std::string& folder, Severity severityOfStrangers) {
        CheckAccess(folder, findings);
        const std::string prefix = folder + "/";
        for (const std::string& name : NamesIn(folder)) {
            const std::string path = prefix + name;
            if (known.contains(path)) {
                CheckAccess(path, findings);
            } else if (IsLeftOver(name)) {
                findings.push_back({Severity::Notice, Sys::HostPath(path),
                                    "is not read; an interrupted change leaves such a file",
                                    "remove it, unless it is your own copy"});
            } else if (name.ends_with(kEnding) && catalogue.pluginProblem.empty()) {
                AddStranger(path, name.substr(0, name.size() - kEnding.size()),
                            severityOfStrangers);
            }
        }
    }

  private:
    void Know(const Tabulon::StoreEntry& entry) {
        const Tabulon::EntryPaths paths = Tabulon::PathsOf(entry);
        known.insert(paths.vendor);
        known.insert(paths.host);
    }
    void AddStranger(const std::string& path, const std::string& name, Severity severity) {
        const auto same =
            std::find_if(catalogue.entries.begin(), catalogue.entries.end(),
                         [&name](const SettingEntry& entry) { return entry.name == name; });
        if (same != catalogue.entries.end()) {
            const std::string right = Sys::HostPath(Tabulon::PathsOf(same->entry).host);
            findings.push_back({Severity::Warning, Sys::HostPath(path),
                                "is not read: " + name + " has its settings in " + right,
                                "move its content there, and remove it"});
            return;
        }
        const std::vector<std::string> near = FindNearNames(name, names);
        findings.push_back({severity, Sys::HostPath(path),
                            "is not read: no plugin " + name + " is installed",
                            (near.empty() ? "" : "name it " + near.front() + ".json, ") +
                                "install the plugin, or remove the file"});
    }

    const Catalogue& catalogue;
    std::vector<Finding>& findings;
    std::set<std::string> known;
    std::vector<std::string> names;
};

std::string FolderOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

}  // namespace

void CheckStoreFiles(const Catalogue& catalogue, std::vector<Finding>& findings) {
    // An entry of each directory that is read, even if there is no such plugin.
    std::vector<Tabulon::StoreEntry> entries = {Sentrel::EntryOfPlugin("test_")};
    for (const SettingEntry& entry : catalogue.entries) {
        entries.push_back(entry.entry);
    }
    std::set<std::string> hostFolders;
    std::set<std::string> vendorFolders;
    for (const Tabulon::StoreEntry& entry : entries) {
        const Tabulon::EntryPaths paths = Tabulon::PathsOf(entry);
        hostFolders.insert(FolderOf(paths.host));
        vendorFolders.insert(FolderOf(paths.vendor));
    }
    FolderCheck check(catalogue, findings);
    for (const std::string& folder : vendorFolders) {
        check.Run(folder, Severity::Notice);
    }
    for (const std::string& folder : hostFolders) {
        check.Run(folder, Severity::Warning);
    }
}

}  // namespace Ctl
