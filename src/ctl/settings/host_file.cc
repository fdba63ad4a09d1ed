#include "ctl/settings/host_file.h"

#include "ctl/settings/state.h"
#include "ctl/show/failure.h"
#include "platform/json/json_scanner.h"
#include "platform/sys/atomic_file.h"
#include "platform/sys/host_root.h"
#include "platform/tabulon/entry_files.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>

namespace Ctl {

namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr mode_t kFileMode = 0644;

std::string FolderOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

const char* AdviceFor(int errorNumber) {
    switch (errorNumber) {
        case EACCES:
        case EPERM:
            return "run this as root";
        case EROFS:
            return "make its file system writable";
        case ENOSPC:
        case EDQUOT:
            return "free some space there";
        default:
            return "check what is at that path";
    }
}

[[noreturn]] void ThrowUnwritable(const std::string& path, const std::error_code& error) {
    throw Failure("cannot write " + Sys::HostPath(path), error.value(), AdviceFor(error.value()));
}

// False if another process holds the lock for longer than any change takes.
bool Lock(int folder) {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::seconds kPatience(5);
    constexpr std::chrono::milliseconds kPause(10);
    const Clock::time_point end = Clock::now() + kPatience;
    while (::flock(folder, LOCK_EX | LOCK_NB) != 0) {
        if (Clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(kPause);
    }
    return true;
}

// The file's object; empty if there is no file.
OrderedJson ReadInOrder(const std::string& path, Comments comments) {
    const std::optional<std::string> text = Tabulon::ReadEntryFile(path);
    if (!text) {
        return OrderedJson::object();
    }
    try {
        (void)Tabulon::ParseEntryText(path,
                                      *text);  // checks it, so that the following steps do not fail
    } catch (const Pellmar::Exception& exception) {
        throw Failure(Sys::HostPath(exception.WhatHappened()), exception.Advice());
    }
    if (comments == Comments::Kept) {
        if (const auto fault =
                Json::FindFault(*text, Json::Comments::Refused, Json::Root::Object)) {
            throw Failure(Sys::HostPath(path) + ":" +
                              std::to_string(Json::Locate(*text, *fault).line) +
                              ": the file has comments, which this would remove",
                          "change it with an editor, or give --discard-comments");
        }
    }
    return OrderedJson::parse(*text, nullptr, /*allow_exceptions=*/true, /*ignore_comments=*/true);
}

void Set(OrderedJson& document, std::string_view key, const SettingValue& value) {
    OrderedJson* object = &document;
    for (std::size_t slash = 0; (slash = key.find('/')) != std::string_view::npos;) {
        object = &(*object)[std::string(key.substr(0, slash))];
        if (!object->is_object()) {
            *object = OrderedJson::object();
        }
        key.remove_prefix(slash + 1);
    }
    (*object)[std::string(key)] = ToJson(value);
}

// Removes the key, and the objects that become empty by that. Recursion is as deep as the key.
void Remove(OrderedJson& object, std::string_view key) {
    const std::size_t slash = key.find('/');
    const std::string name(key.substr(0, slash));
    if (!object.is_object() || !object.contains(name)) {
        return;
    }
    if (slash != std::string_view::npos) {
        Remove(object[name], key.substr(slash + 1));
        if (!object[name].empty()) {
            return;
        }
    }
    object.erase(name);
}

void RefuseLink(const std::string& path) {
    std::error_code error;
    const std::filesystem::path target = std::filesystem::read_symlink(Sys::HostPath(path), error);
    if (!error) {
        throw Failure(Sys::HostPath(path) + " is a link to " + target.string(),
                      "change that file with an editor, or remove the link");
    }
}

}  // namespace

HostFileLock::HostFileLock(const std::string& path, mode_t folderMode) {
    const std::string rooted = Sys::HostPath(FolderOf(path));
    try {
        Sys::MakeDirectory(rooted, folderMode);
    } catch (const std::system_error& error) {
        ThrowUnwritable(path, error.code());
    }
    folder.Reset(::open(rooted.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.IsOpen()) {
        ThrowUnwritable(path, {errno, std::generic_category()});
    }
    if (!Lock(folder.Get())) {
        throw Failure("another program has locked " + rooted,
                      "try again when it has exited (\"lslocks\" shows it)");
    }
}

void ChangeHostFile(const std::string& path, std::string_view key,
                    const std::optional<SettingValue>& value, Comments comments) {
    RefuseLink(path);
    OrderedJson document = ReadInOrder(path, comments);
    if (value) {
        Set(document, key, *value);
    } else {
        Remove(document, key);
    }
    constexpr int kIndent = 4;
    const std::string text = document.dump(kIndent) + "\n";
    if (text.size() > Tabulon::kMaxFileBytes) {
        throw Failure(Sys::HostPath(path) + " would be longer than " +
                          std::to_string(Tabulon::kMaxFileBytes) + " bytes",
                      "remove what is not needed");
    }
    try {
        Sys::ReplaceFile(Sys::HostPath(path), text, kFileMode);
    } catch (const std::system_error& error) {
        ThrowUnwritable(path, error.code());
    }
}

}  // namespace Ctl
