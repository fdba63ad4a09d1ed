#include "platform/token/token_signer.h"

#include "platform/json/bounded_json.h"
#include "platform/pellmar/exceptions.h"
#include "platform/sys/atomic_file.h"
#include "platform/sys/host_root.h"
#include "platform/sys/owned_fd.h"
#include "platform/token/base64url.h"
#include "platform/token/jwt.h"
#include "platform/token/public_key.h"
#include "platform/token/token_claims.h"
#include "platform/token/trust_set.h"

#include <jansson.h>
#include <openssl/evp.h>
#include <nlohmann/json.hpp>
extern "C" {
#include <jose/jwk.h>
#include <jose/jws.h>
}

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>

namespace Token {

namespace {

using nlohmann::json;

constexpr mode_t kPrivateFileMode = 0600;
constexpr mode_t kPrivateDirectoryMode = 0700;
constexpr mode_t kPublicFileMode = 0644;
constexpr mode_t kPublicDirectoryMode = 0755;

struct Release {
    void operator()(json_t* value) const { json_decref(value); }
    void operator()(char* text) const { std::free(text); }
    void operator()(jose_cfg_t* settings) const { jose_cfg_decref(settings); }
};
using JsonHandle = std::unique_ptr<json_t, Release>;

void IgnoreError(void*, const char*, int, std::uint64_t, const char*, va_list) {}

// By default the library prints its errors to standard error.
std::unique_ptr<jose_cfg_t, Release> Quiet() {
    std::unique_ptr<jose_cfg_t, Release> settings(jose_cfg());
    jose_cfg_set_err_func(settings.get(), IgnoreError, nullptr);
    return settings;
}

[[noreturn]] void ThrowLibraryError(const char* task) {
    throw Pellmar::Exception(std::string("the JOSE library could not ") + task);
}

std::string ToText(const JsonHandle& value) {
    const std::unique_ptr<char, Release> text(json_dumps(value.get(), JSON_COMPACT));
    return text ? text.get() : "";
}

JsonHandle FromText(const std::string& text) {
    return JsonHandle(json_loads(text.c_str(), JSON_REJECT_DUPLICATES, nullptr));
}

std::string MemberOf(const JsonHandle& object, const char* name) {
    const char* text = json_string_value(json_object_get(object.get(), name));
    return text == nullptr ? "" : text;
}

// The RFC 7638 thumbprint with SHA-256.
std::string ThumbprintOf(const JsonHandle& jwk) {
    const JsonHandle thumbprint(jose_jwk_thp(Quiet().get(), jwk.get(), "S256"));
    return thumbprint ? json_string_value(thumbprint.get()) : "";
}

std::string DirectoryOf(const std::string& rootedPath) {
    return std::filesystem::path(rootedPath).parent_path();
}

[[noreturn]] void ThrowUnwritable(const std::string& path, const std::error_code& error) {
    throw Pellmar::IOException("cannot write " + path + ": " + error.message(),
                               "run this as root; if the file system is full, free space on it",
                               error.value());
}

// The lock held while a set is read, changed and replaced; closing the descriptor releases it.
Sys::OwnedFd LockDirectory(const std::string& rootedPath) {
    Sys::OwnedFd directory(open(rootedPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory.IsOpen() || flock(directory.Get(), LOCK_EX) != 0) {
        throw std::system_error(errno, std::generic_category());
    }
    return directory;
}

// Parses `text` as a JWK Set, or returns an empty set if it is missing or empty. Throws
// Pellmar::Exception for anything else.
json SetOf(const std::optional<std::string>& text) {
    if (!text || text->empty()) {
        return json{{"keys", json::array()}};
    }
    (void)ParseTrustSet(*text);  // throws unless it is a JWK Set within the bounds
    return json::parse(*text);
}

void PutKey(json& set, const json& jwk) {
    json others = json::array();
    for (const json& key : set["keys"]) {
        if (!key.is_object() || key.value("kid", json()) != jwk["kid"]) {
            others.push_back(key);
        }
    }
    if (others.size() >= kMaxTrustedKeys) {
        throw Pellmar::Exception("holds " + std::to_string(others.size()) +
                                 " other keys already, which is the limit");
    }
    others.push_back(jwk);
    set["keys"] = std::move(others);
}

std::string PayloadOf(const TokenRequest& request) {
    const std::int64_t issued = request.issued.time_since_epoch().count();
    json claims = {{"iss", request.issuer},
                   {"aud", request.audience},
                   {"sub", request.subject},
                   {"iat", issued},
                   {"exp", issued + request.lifetime.count()}};
    if (!request.entitlements.empty()) {
        claims["entitlements"] = request.entitlements;
    }
    TokenClaims asRead;
    std::string reason;
    if (!ReadClaims(claims, request.issuer, request.audience, request.issued, asRead, reason)) {
        throw Pellmar::InvalidArgumentException("such a token would be refused: " + reason);
    }
    try {
        return claims.dump();
    } catch (const json::exception&) {
        throw Pellmar::InvalidArgumentException("a name in the token is not UTF-8");
    }
}

}  // namespace

SigningKey::SigningKey(const std::string& jwk) {
    const JsonHandle key = FromText(jwk);
    id = MemberOf(key, "kid");
    if (id.empty()) {
        id = ThumbprintOf(key);
        (void)json_object_set_new(key.get(), "kid", json_string(id.c_str()));
    }
    privateJwk = ToText(key);
    if (!jose_jwk_pub(Quiet().get(), key.get())) {
        ThrowLibraryError("extract the public half of the signing key");
    }
    publicJwk = ToText(key);
    std::string reason;
    const std::optional<PublicKey> half = PublicKey::FromJwk(json::parse(publicJwk), reason);
    if (!half || half->GetAlgorithm() != Algorithm::Es256) {
        throw Pellmar::Exception("not an ES256 key: " + (half ? "it is an RSA key" : reason));
    }
    (void)SignText("{}");  // throws unless the halves belong together
}

SigningKey SigningKey::Generate() {
    const JsonHandle key(json_pack("{s:s}", "alg", "ES256"));
    if (!key || !jose_jwk_gen(Quiet().get(), key.get())) {
        ThrowLibraryError("create a signing key");
    }
    return SigningKey(ToText(key));
}

SigningKey SigningKey::Load(const std::string& path) {
    const std::string rootedPath = Sys::HostPath(path);
    try {
        const std::optional<std::string> text = ReadTrustSet(path);
        if (!text) {
            throw Pellmar::NotFoundException(rootedPath + " is missing",
                                             "create it with \"sentrelctl token init\"");
        }
        constexpr Json::ParseOptions kOptions{kMaxTrustSetBytes, Json::Comments::Refused,
                                              Json::Root::Object, Json::EqualNames::Refused};
        json document;
        Json::JsonError error;
        if (!Json::Parse(*text, kOptions, document, error)) {
            throw Pellmar::Exception("not a JSON object: " + error.Text());
        }
        return SigningKey(document.dump());
    } catch (const Pellmar::NotFoundException&) {
        throw;
    } catch (const Pellmar::Exception& error) {
        throw Pellmar::Exception("cannot use " + rootedPath + ": " + error.what(),
                                 error.ErrorNumber() == EACCES
                                     ? "run this as root"
                                     : "move it away, then run \"sentrelctl token init\"",
                                 error.ErrorNumber());
    }
}

void SigningKey::Save(const std::string& path) const {
    const std::string rootedPath = Sys::HostPath(path);
    try {
        Sys::MakeDirectory(DirectoryOf(rootedPath), kPrivateDirectoryMode);
        Sys::ReplaceFile(rootedPath, privateJwk + "\n", kPrivateFileMode);
    } catch (const std::system_error& error) {
        ThrowUnwritable(rootedPath, error.code());
    }
}

void SigningKey::AddToTrustSet(const std::string& path) const {
    const std::string rootedPath = Sys::HostPath(path);
    try {
        Sys::MakeDirectory(DirectoryOf(rootedPath), kPublicDirectoryMode);
        const Sys::OwnedFd lock = LockDirectory(DirectoryOf(rootedPath));
        json set = SetOf(ReadTrustSet(path));
        PutKey(set, json::parse(publicJwk));
        Sys::ReplaceFile(rootedPath, set.dump(2) + "\n", kPublicFileMode);
    } catch (const std::system_error& error) {
        ThrowUnwritable(rootedPath, error.code());
    } catch (const Pellmar::Exception& error) {
        throw Pellmar::Exception("the trust set " + rootedPath + " " + error.what(),
                                 "correct it, or move it away and run \"sentrelctl token init\"",
                                 error.ErrorNumber());
    }
}

std::string SigningKey::Sign(const TokenRequest& request) const {
    std::string token = SignText(PayloadOf(request));
    if (token.size() > kMaxTokenBytes) {
        throw Pellmar::InvalidArgumentException(
            "the token would be longer than " + std::to_string(kMaxTokenBytes) + " bytes",
            "ask for fewer entitlements");
    }
    return token;
}

std::string SigningKey::SignText(std::string_view payload) const {
    const JsonHandle token(json_pack("{s:s}", "payload", EncodeBase64Url(payload).c_str()));
    const JsonHandle header(json_pack("{s:{s:s,s:s,s:s}}", "protected", "alg", "ES256", "typ",
                                      "JWT", "kid", id.c_str()));
    const JsonHandle key = FromText(privateJwk);
    if (!token || !header || !jose_jws_sig(Quiet().get(), token.get(), header.get(), key.get())) {
        throw Pellmar::Exception("cannot sign", "the halves of the key may not belong together");
    }
    return MemberOf(token, "protected") + "." + MemberOf(token, "payload") + "." +
           MemberOf(token, "signature");
}

}  // namespace Token
