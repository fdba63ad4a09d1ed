#include "platform/token/trust_set.h"

#include "platform/json/bounded_json.h"
#include "platform/pellmar/exceptions.h"
#include "platform/sys/host_root.h"
#include "platform/sys/read_file.h"
#include "platform/token/quote.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <exception>
#include <utility>

#include <sys/stat.h>

namespace Token {

namespace {

using nlohmann::json;
using Pellmar::Service::LogInternal;

constexpr const char* kAdvice =
    "run \"sentrelctl token init\", or put a JWK Set of public keys there";

std::int64_t Nanoseconds(const timespec& time) {
    constexpr std::int64_t kPerSecond = 1'000'000'000;
    return time.tv_sec * kPerSecond + time.tv_nsec;
}

// The name of a key in log lines: its position in the set, and its id if it has one.
std::string NameOfKey(std::size_t index, const json& jwk) {
    const std::string place = "key " + std::to_string(index + 1);
    const bool hasId = jwk.is_object() && jwk.contains("kid") && jwk["kid"].is_string();
    return hasId ? place + " (kid " + Quote(jwk["kid"].get<std::string>()) + ")" : place;
}

}  // namespace

TrustedKeys ParseTrustSet(std::string_view text) {
    constexpr Json::ParseOptions kOptions{kMaxTrustSetBytes, Json::Comments::Refused,
                                          Json::Root::Object, Json::EqualNames::Refused};
    json document;
    Json::JsonError error;
    if (!Json::Parse(text, kOptions, document, error)) {
        throw Pellmar::Exception("is not a JWK Set: line " + std::to_string(error.line) +
                                     ", column " + std::to_string(error.column) + ": " +
                                     error.reason,
                                 error.advice);
    }
    const auto list = document.find("keys");
    if (list == document.end() || !list->is_array()) {
        throw Pellmar::Exception("is not a JWK Set: it has no list \"keys\"");
    }
    if (list->size() > kMaxTrustedKeys) {
        throw Pellmar::Exception("contains more than " + std::to_string(kMaxTrustedKeys) + " keys");
    }
    TrustedKeys result;
    for (std::size_t i = 0; i < list->size(); ++i) {
        const json& jwk = (*list)[i];
        std::string reason;
        if (std::optional<PublicKey> key = PublicKey::FromJwk(jwk, reason)) {
            result.keys.push_back(std::move(*key));
        } else {
            result.unused.push_back(NameOfKey(i, jwk) + ": " + reason);
        }
    }
    return result;
}

std::optional<std::string> ReadTrustSet(const std::string& path) {
    std::string text;
    const int error = Sys::ReadRegularFile(Sys::HostPath(path), kMaxTrustSetBytes + 1, text);
    if (error == ENOENT) {
        return std::nullopt;
    }
    if (error == ENXIO) {
        throw Pellmar::IOException("is not a regular file");
    }
    if (error != 0) {
        throw Pellmar::IOException("cannot be opened", error);
    }
    if (text.size() > kMaxTrustSetBytes) {
        throw Pellmar::IOException("is longer than " + std::to_string(kMaxTrustSetBytes) +
                                   " bytes");
    }
    return text;
}

TrustSet::TrustSet(std::string path, Pellmar::Ref<Pellmar::Service::Logger> logger)
    : path(std::move(path)), logger(std::move(logger)) {}

const std::vector<PublicKey>& TrustSet::Keys() {
    // Stamped before it is read: a change in between only causes another read.
    const Stamp stamp = StampOf(Sys::HostPath(path));
    if (lastStamp != stamp) {
        Read();
        lastStamp = stamp;
    }
    return keys;
}

TrustSet::Stamp TrustSet::StampOf(const std::string& rootedPath) {
    struct stat status{};
    if (::stat(rootedPath.c_str(), &status) != 0) {
        return {errno};
    }
    return {0,
            status.st_dev,
            status.st_ino,
            status.st_size,
            Nanoseconds(status.st_mtim),
            Nanoseconds(status.st_ctim)};
}

void TrustSet::Read() {
    ++generation;
    keys.clear();
    try {
        TrustedKeys loaded = Load();
        for (const std::string& unused : loaded.unused) {
            LogInternal(logger, 3, "Trust set %1: not used: %2", path, unused);
        }
        if (loaded.keys.empty()) {
            throw Pellmar::Exception("contains no usable key");
        }
        keys = std::move(loaded.keys);
        LogInternal(logger, 5, "Trust set %1 read, keys in use: %2", path, keys.size());
    } catch (const std::exception& error) {
        LogInternal(logger, 3, "Every token is refused: trust set %1 %2; %3", path, error.what(),
                    kAdvice);
    }
}

TrustedKeys TrustSet::Load() const {
    if (path.empty() || path.front() != '/') {
        throw Pellmar::Exception("is not an absolute path (setting jwks)");
    }
    const std::optional<std::string> text = ReadTrustSet(path);
    if (!text) {
        throw Pellmar::NotFoundException("is missing");
    }
    if (text->empty()) {
        throw Pellmar::Exception("is empty");
    }
    return ParseTrustSet(*text);
}

}  // namespace Token
