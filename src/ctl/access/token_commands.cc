#include "ctl/access/token_commands.h"

#include "ctl/api/signing.h"
#include "ctl/api/token_source.h"
#include "ctl/command/command_line.h"
#include "ctl/host/daemon_settings.h"
#include "ctl/settings/host_file.h"
#include "ctl/show/durations.h"
#include "ctl/show/failure.h"
#include "ctl/show/json_output.h"
#include "ctl/show/near_names.h"
#include "ctl/show/note.h"
#include "ctl/show/table.h"
#include "ctl/show/times.h"
#include "ctl/show/words.h"
#include "platform/pellmar/exceptions.h"
#include "platform/sys/host_root.h"
#include "platform/token/jwt.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace Ctl {

namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr std::string_view kDefaultLifetime = "1h";

constexpr std::array<Option, 1> kInitOptions = {{kJsonOption}};
constexpr std::array<Option, 3> kIssueOptions = {{
    {"--subject",
     "NAME",
     "the user of the token; the audit log records this name",
     Completes::Nothing,
     {},
     false,
     true},
    {"--entitlement", "PRIVILEGE",
     "a privilege that it grants, such as observability.reports.read; may be repeated",
     Completes::Privilege},
    {"--ttl", "TIME", "lifetime, for example 90s, 15m or 7d; default 1h"},
}};
constexpr std::array<Option, 1> kInspectOptions = {{kJsonOption}};

constexpr mode_t kKeyFolderMode = 0700;

// The existing key, or a new one: the same one if several processes ask at once.
std::pair<Token::SigningKey, bool> FindOrMakeKey() {
    const std::string path(kSigningKeyPath);
    const HostFileLock lock(path, kKeyFolderMode);
    try {
        return {Token::SigningKey::Load(path), false};
    } catch (const Pellmar::NotFoundException&) {
        Token::SigningKey key = Token::SigningKey::Generate();
        key.Save(path);
        return {std::move(key), true};
    }
}

void RunInit(const Arguments& arguments, std::ostream& output) {
    const std::string trustSet = ReadTrustSettings().jwks;
    const auto [key, isNew] = FindOrMakeKey();
    key.AddToTrustSet(trustSet);
    if (arguments.options.Has("--json")) {
        const OrderedJson document = {{"made", isNew},
                                      {"key", Sys::HostPath(kSigningKeyPath)},
                                      {"kid", key.GetId()},
                                      {"trustSet", Sys::HostPath(trustSet)}};
        WriteJson(document, output);
        return;
    }
    Table facts({{}, {}});
    facts.Add({isNew ? "Created" : "Exists", Sys::HostPath(kSigningKeyPath)});
    facts.Add({"Key id", key.GetId()});
    facts.Add({"Trusted in", Sys::HostPath(trustSet)});
    facts.Write(output);
}

// What makes a token that grants less than its owner expects.
void WarnOfEntitlements(const std::vector<std::string>& entitlements) {
    if (entitlements.empty()) {
        NoteOnce(
            "warning: the token has no entitlements, so it cannot read reports; add "
            "--entitlement " +
            std::string(kReadPrivilege));
        return;
    }
    const std::vector<std::string> known = KnownPrivileges();
    for (const std::string& entitlement : entitlements) {
        if (std::find(known.begin(), known.end(), entitlement) == known.end()) {
            NoteOnce("warning: no operation of the API needs the entitlement \"" + entitlement +
                     "\"; " +
                     NearNamesAdvice(entitlement, known, "the known ones: " + Joined(known)));
        }
    }
}

void RunIssue(const Arguments& arguments, std::ostream& output) {
    const std::string subject = arguments.options.Value("--subject");
    if (subject.empty()) {
        throw UsageError("\"token issue\" needs --subject NAME",
                         "see \"sentrelctl token issue --help\"");
    }
    const std::string text = arguments.options.Has("--ttl") ? arguments.options.Value("--ttl")
                                                            : std::string(kDefaultLifetime);
    const std::optional<std::chrono::seconds> lifetime = ParseLifetime(text);
    if (!lifetime) {
        throw UsageError("invalid duration \"" + text + "\" for --ttl",
                         "use, for example, 15m, 1h or 7d, up to 3650d");
    }
    const std::vector<std::string> entitlements = arguments.options.Values("--entitlement");
    const std::string token = IssueToken(subject, entitlements, *lifetime);
    WarnOfEntitlements(entitlements);
    output << token << '\n';
}

// Why the daemon of this host would refuse the token now; empty if it would accept it.
std::string FindFault(const std::string& token) {
    // The reason includes the faults of the trust set.
    Token::TokenVerifier verifier(ReadTrustSettings(), SilentLogger());
    Token::TokenClaims claims;
    std::string reason;
    if (verifier.Verify(token, std::chrono::system_clock::now(), claims, reason)) {
        return "";
    }
    return reason;
}

std::string ShownValue(const nlohmann::json& value) {
    return value.is_string() ? value.get<std::string>()
                             : value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

// Of a NumericDate (RFC 7519), such as "2024-03-05T14:07:09Z (3 min ago)".
std::string DateText(double date) {
    constexpr double kEndOfYear9999 = 253402300799;
    if (date < 0 || date > kEndOfYear9999) {
        return "beyond the year 9999";
    }
    const std::chrono::sys_seconds time{std::chrono::seconds(static_cast<std::int64_t>(date))};
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    return UtcText(time) + (time > now ? " (in " + DurationText(time - now) + ")"
                                       : " (" + DurationText(now - time) + " ago)");
}

std::string ClaimText(const std::string& name, const nlohmann::json& value) {
    const bool isTime = (name == "exp" || name == "iat" || name == "nbf") && value.is_number();
    return isTime ? DateText(value.get<double>()) : ShownValue(value);
}

int RunInspect(const Arguments& arguments, std::ostream& output) {
    const std::string token =
        arguments.operands.empty() ? ReadTokenFrom("-") : ReadTokenFrom(arguments.operands[0]);
    Token::Jwt jwt;
    nlohmann::json claims;
    std::string reason;
    if (!Token::ParseJwt(token, jwt, claims, reason)) {
        throw Failure("not a valid token: " + reason);
    }
    const std::string fault = FindFault(token);
    if (arguments.options.Has("--json")) {
        OrderedJson document = {{"algorithm", Token::NameOf(jwt.algorithm)},
                                {"kid", jwt.keyId ? OrderedJson(*jwt.keyId) : OrderedJson()},
                                {"claims", claims},
                                {"trusted", fault.empty()}};
        if (!fault.empty()) {
            document["reason"] = fault;
        }
        WriteJson(document, output);
        return fault.empty() ? 0 : 1;
    }
    Table facts({{}, {}});
    facts.Add({"Trusted here", fault.empty() ? "yes" : "no: " + fault});
    facts.Add({"Algorithm", std::string(Token::NameOf(jwt.algorithm))});
    facts.Add({"Key id", jwt.keyId.value_or("none")});
    for (const auto& [name, value] : claims.items()) {
        facts.Add({name, ClaimText(name, value)});
    }
    facts.Write(output);
    return fault.empty() ? 0 : 1;
}

constexpr std::array<Command, 3> kCommands = {{
    {"token init",
     "create the key that signs tokens, and trust it",
     "Creates an ES256 key in /var/lib/korvex/oru/token/signing-key.json, readable by root\n"
     "only, and adds its public half to the daemon's trust set. An existing key is kept.\n",
     "sentrelctl token init",
     kInitOptions,
     {},
     RunInit},
    {"token issue",
     "print a token for a user of the API",
     "Signs a token with the key of this host, and prints only the token. Whoever has it may\n"
     "do what its entitlements allow until it expires; keep it in a file that only its user\n"
     "can read.\n",
     "sentrelctl token issue --subject alice --entitlement observability.reports.read --ttl 7d",
     kIssueOptions,
     {},
     RunIssue},
    {"token inspect",
     "show the contents of a token and whether this host trusts it",
     "Reads a token from a file, or from standard input, and shows its claims. A token is\n"
     "not taken as an argument, because every user of the host can read command lines.\n"
     "\n"
     "Exit status: 0 when the token is trusted on this host, 1 when it is not, for example\n"
     "because it has expired.\n",
     "sentrelctl token issue --subject alice | sentrelctl token inspect",
     kInspectOptions,
     {"[FILE]", 0, 1, Completes::File},
     nullptr,
     RunInspect},
}};

}  // namespace

std::span<const Command> TokenCommands() { return kCommands; }

}  // namespace Ctl
