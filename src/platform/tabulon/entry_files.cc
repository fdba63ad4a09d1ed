#include "platform/tabulon/entry_files.h"

#include "platform/json/bounded_json.h"
#include "platform/pellmar/exceptions.h"
#include "platform/sys/host_root.h"
#include "platform/sys/owned_fd.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

[[noreturn]] void ThrowUnreadable(const std::string& path, const std::string& reason) {
    throw Pellmar::IOException(path + " cannot be read: " + reason +
                               "; make it a readable file, or remove it");
}

std::string TextOf(int errorNumber) { return std::generic_category().message(errorNumber); }

bool IsThere(const std::string& rootedPath) {
    struct stat status {};
    return lstat(rootedPath.c_str(), &status) == 0;
}

// Without waiting for a writer when the path is a FIFO's. Empty when there is no file.
Sys::OwnedFd OpenEntryFile(const std::string& path) {
    const std::string rootedPath = Sys::HostPath(path);
    Sys::OwnedFd file(open(rootedPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    const int errorNumber = errno;
    if (file.IsOpen()) {
        return file;
    }
    if (errorNumber != ENOENT) {
        ThrowUnreadable(path, TextOf(errorNumber));
    }
    if (IsThere(rootedPath)) {
        ThrowUnreadable(path, "it is a link to nothing");
    }
    return file;
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
                "\" cannot be part of a file name of the store; rename it");
        }
    }
    const std::string path = EntryName(entry).append(kEnding);
    return {std::string(kVendorFolder) + path, std::string(kHostFolder) + path};
}

std::optional<std::string> ReadEntryFile(const std::string& path) {
    const Sys::OwnedFd file = OpenEntryFile(path);
    if (!file.IsOpen()) {
        return std::nullopt;
    }
    struct stat status {};
    if (fstat(file.Get(), &status) != 0) {
        ThrowUnreadable(path, TextOf(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        ThrowUnreadable(path, "it is not a regular file");
    }
    std::string text;
    std::size_t used = 0;
    for (;;) {
        constexpr std::size_t kPieceBytes = 4096;
        text.resize(used + kPieceBytes);
        const ssize_t count = read(file.Get(), text.data() + used, kPieceBytes);
        if (count < 0 && errno != EINTR) {
            ThrowUnreadable(path, TextOf(errno));
        }
        if (count == 0) {
            break;
        }
        used += count > 0 ? static_cast<std::size_t>(count) : 0;
        if (used > kMaxFileBytes) {
            ThrowUnreadable(path, "it is longer than " + std::to_string(kMaxFileBytes) + " bytes");
        }
    }
    text.resize(used);
    return text;
}

nlohmann::json ParseEntryText(const std::string& path, std::string_view text) {
    nlohmann::json document;
    Json::JsonError error;
    if (!Json::Parse(text, {kMaxFileBytes, Json::Comments::Allowed, Json::Root::Object}, document,
                     error)) {
        throw Pellmar::Exception(path + ":" + std::to_string(error.line) + ":" +
                                 std::to_string(error.column) + ": " + error.reason);
    }
    return document;
}

}  // namespace Tabulon
