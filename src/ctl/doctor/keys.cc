// "doctor": the key that signs tokens, and the keys that the daemon trusts.
#include "ctl/api/signing.h"
#include "ctl/doctor/subjects.h"
#include "ctl/host/daemon_settings.h"
#include "ctl/show/words.h"
#include "platform/pellmar/exceptions.h"
#include "platform/sys/host_root.h"
#include "platform/token/token_verifier.h"
#include "platform/token/trust_set.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>

#include <unistd.h>

namespace Ctl {

namespace {

constexpr const char* kInit = "sentrelctl token init";

// Whether the text, a JWK Set, contains a private key (RFC 7518, sections 6.2.2 and 6.3.2).
bool HoldsPrivateKeys(const std::string& text) {
    const nlohmann::json set = nlohmann::json::parse(text, nullptr, false);
    const auto keys = set.is_object() ? set.find("keys") : set.end();
    return keys != set.end() && keys->is_array() &&
           std::any_of(keys->begin(), keys->end(), [](const nlohmann::json& key) {
               return key.is_object() && key.contains("d");
           });
}

// Why the daemon would refuse a token signed here; empty if it would accept one.
std::string TrialProblem(const Token::TrustSettings& settings) {
    const auto now = std::chrono::system_clock::now();
    const std::string token = IssueToken("doctor", {}, std::chrono::minutes(1));
    Token::TokenVerifier verifier(settings, SilentLogger());
    Token::TokenClaims claims;
    std::string reason;
    return verifier.Verify(token, now, claims, reason) ? "" : reason;
}

bool CanSign() { return ::access(Sys::HostPath(kSigningKeyPath).c_str(), R_OK) == 0; }

}  // namespace

void CheckSigningKey(const Host& /*host*/, Findings& findings) {
    const std::string subject = "signing key";
    const std::string path = Sys::HostPath(kSigningKeyPath);
    const std::optional<struct stat> status = StatOf(path);
    if (!status) {
        findings.push_back(
            {Severity::Notice, subject, path + " is missing: this host cannot sign tokens", kInit});
        return;
    }
    const std::size_t before = findings.size();
    if ((status->st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        findings.push_back({Severity::Error, subject,
                            path + " (" + OwnerAndMode(*status) +
                                ") is accessible to others, who can sign tokens for any user",
                            "chmod 600 " + path + "; if others may have read it, replace it: rm " +
                                path + "; " + kInit});
    }
    if (status->st_uid != 0 && status->st_uid != ::geteuid()) {
        findings.push_back({Severity::Error, subject,
                            path + " belongs to " + NameOfUser(status->st_uid) +
                                ", who can sign tokens for any user",
                            "chown root: " + path});
    }
    if (!CanSign()) {
        throw CannotInspect("cannot read " + path);
    }
    (void)Token::SigningKey::Load(
        std::string(kSigningKeyPath));  // throws, with what to do, if the key cannot be used
    if (findings.size() == before) {
        findings.push_back(
            {Severity::Good, subject, path + " (" + OwnerAndMode(*status) + ")", ""});
    }
}

void CheckTrustSet(const Host& host, Findings& findings) {
    const std::string subject = "trust set";
    const Token::TrustSettings settings = ReadTrustSettings();
    const std::string path = Sys::HostPath(settings.jwks);
    // the running daemon still uses the file that was set when it started
    const std::string when =
        StoreFilesNewerThanDaemon(host, {"oru/authn"}).empty() ? "" : " once sentrel restarts";
    if (!StatOf(path)) {
        findings.push_back(
            {Severity::Error, subject, path + " is missing: every token is refused" + when, kInit});
        return;
    }
    const std::size_t before = findings.size();
    if (const auto fault = FindAccessFault(path, host.user, R_OK)) {
        findings.push_back({Severity::Error, subject,
                            fault->text + ": every token is refused" + when,
                            fault->remedy.empty() ? "chmod 644 " + path : fault->remedy});
    }
    if (::access(path.c_str(), R_OK) != 0) {
        throw CannotInspect("cannot read " + path);
    }
    std::string text;
    Token::TrustedKeys trusted;
    try {
        text = Token::ReadTrustSet(settings.jwks).value_or("");
        trusted = Token::ParseTrustSet(text);
    } catch (const Pellmar::Exception& exception) {
        findings.push_back(
            {Severity::Error, subject,
             path + " is not a JWK Set: every token is refused" + when + ": " + exception.what(),
             "move it away, then: " + std::string(kInit)});
        return;
    }
    if (HoldsPrivateKeys(text)) {
        findings.push_back(
            {Severity::Error, subject,
             path + " holds private keys: whoever reads it can sign tokens for any user",
             "remove those keys, and replace the key pairs"});
    } else if (!trusted.unused.empty()) {
        findings.push_back({Severity::Warning, subject, "not usable: " + Abridged(trusted.unused),
                            "correct or remove these keys in " + path});
    }
    if (trusted.keys.empty()) {
        findings.push_back({Severity::Error, subject,
                            path + " has no usable key: every token is refused" + when, kInit});
    } else if (const std::string problem = CanSign() ? TrialProblem(settings) : "";
               !problem.empty()) {
        findings.push_back(
            {Severity::Error, subject,
             "a token that is signed on this host is refused" + when + ": " + problem,
             "add the public half of its key: " + std::string(kInit)});
    }
    if (findings.size() == before) {
        findings.push_back({Severity::Good, subject,
                            path + ": " + Counted(trusted.keys.size(), "key") +
                                (CanSign() ? ", this host's among them" : ""),
                            ""});
    }
}

}  // namespace Ctl
