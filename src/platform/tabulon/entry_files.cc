#include "platform/tabulon/entry_files.h"

#include "platform/json/bounded_json.h"
#include "platform/pellmar/exceptions.h"
#include "platform/sys/host_root.h"
#include "platform/sys/read_file.h"

#include <nlohmann/json.hpp>

#include <cerrno>

#include <sys/stat.h>

namespace Tabulon {

namespace {

constexpr std::string_view kVendorFolder = "/usr/lib/korvex/tabulon/";
constexpr std::string_view kHostFolder = "/etc/korvex/tabulon/";
constexpr std::string_view kEnding = ".json";

bool CanNameFile(std::string_view segment) {
    constexpr std::string_view kForbidden("/\0", 2);
    return !segment.empty() && segment != "." && segment != ".." &&
           segment.find_first_of(kForbidden) == std::string_view::npos;
}

constexpr const char* kAdvice = "replace it by a readable file, or remove it";

[[noreturn]] void ThrowUnreadable(const std::string& path, const std::string& reason) {
    throw Pellmar::IOException(path + " cannot be read: " + reason, kAdvice);
}

[[noreturn]] void ThrowUnreadable(const std::string& path, int errorNumber) {
    throw Pellmar::IOException(path + " cannot be read", errorNumber, kAdvice);
}

bool IsThere(const std::string& rootedPath) {
    struct stat status{};
    return lstat(rootedPath.c_str(), &status) == 0;
}

}  // namespace

std::string EntryName(const StoreEntry& entry) {
    return entry.component + "/" + entry.group + "/" + entry.key;
}

EntryPaths PathsOf(const StoreEntry& entry) {
    if (!entry.first.empty() || !entry.last.empty()) {
        throw Pellmar::InvalidArgumentException("configuration entry " + EntryName(entry) +
                                                ": its first and last string must be empty");
    }
    for (const std::string& segment : {entry.component, entry.group, entry.key}) {
        if (!CanNameFile(segment)) {
            throw Pellmar::InvalidArgumentException(
                "configuration entry " + EntryName(entry) + ": \"" + segment +
                    "\" cannot be part of a file name of the store",
                "rename it");
        }
    }
    const std::string path = EntryName(entry).append(kEnding);
    return {std::string(kVendorFolder) + path, std::string(kHostFolder) + path};
}

std::optional<std::string> ReadEntryFile(const std::string& path) {
    const std::string rootedPath = Sys::HostPath(path);
    std::string text;
    const int error = Sys::ReadRegularFile(rootedPath, kMaxFileBytes + 1, text);
    if (error == ENOENT && !IsThere(rootedPath)) {
        return std::nullopt;
    }
    if (error == ENOENT || error == ENXIO) {
        ThrowUnreadable(path,
                        error == ENOENT ? "it is a dangling link" : "it is not a regular file");
    }
    if (error != 0) {
        ThrowUnreadable(path, error);
    }
    if (text.size() > kMaxFileBytes) {
        ThrowUnreadable(path, "it is longer than " + std::to_string(kMaxFileBytes) + " bytes");
    }
    return text;
}

nlohmann::json ParseEntryText(const std::string& path, std::string_view text) {
    nlohmann::json document;
    Json::JsonError error;
    if (!Json::Parse(text, {kMaxFileBytes, Json::Comments::Allowed, Json::Root::Object}, document,
                     error)) {
        throw Pellmar::Exception(path + ":" + std::to_string(error.line) + ":" +
                                     std::to_string(error.column) + ": " + error.reason,
                                 error.advice);
    }
    return document;
}

}  // namespace Tabulon
