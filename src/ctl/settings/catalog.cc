#include "ctl/settings/catalog.h"

#include "core/settings/settings.h"
#include "platform/pellmar/exceptions.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/system/system_factory.h"
#include "platform/sys/host_root.h"
#include "platform/token/token_verifier.h"
#include "plugins/discovery.h"
#include "plugins/queue_timing.h"
#include "plugins/resource_group.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>

namespace Ctl {

namespace {

constexpr std::int32_t kFirstUnprivilegedPort = 1024;
constexpr std::int32_t kMaxPort = 65535;
constexpr std::int32_t kLogsFailures = 3;
constexpr std::int32_t kLogsTraces = 7;

Judgement JudgePort(const SettingValue& stored) {
    const std::int32_t port = std::get<std::int32_t>(stored);
    if (port == Sentrel::kApiPort) {
        return {Severity::Error, "is the port of the API, which then could not start", ""};
    }
    if (port >= 1 && port < kFirstUnprivilegedPort) {
        return {
            Severity::Warning,
            "is a privileged port, which an unprivileged daemon cannot bind, so it may not start",
            "sentrelctl config set sentrel.http_port VALUE (from " +
                std::to_string(kFirstUnprivilegedPort) + " to " + std::to_string(kMaxPort) + ")"};
    }
    return {};
}

Judgement JudgeNoText(const SettingValue& stored) {
    if (std::get<std::string>(stored).empty()) {
        return {Severity::Warning, "is empty, so no token can match it", ""};
    }
    return {};
}

Judgement JudgeTrustSet(const SettingValue& stored) {
    const std::string& path = std::get<std::string>(stored);
    if (!path.starts_with('/')) {
        return {Severity::Error, "is not an absolute path, so every token is refused", ""};
    }
    std::error_code error;
    if (!std::filesystem::exists(Sys::HostPath(path), error)) {
        return {Severity::Warning, "is missing: every token is refused", "sentrelctl token init"};
    }
    return {};
}

SettingValue FastPeriodInEffect(const SettingValue& stored) {
    return static_cast<std::int32_t>(Sentrel::FastPeriodMinutes(std::get<std::int32_t>(stored)));
}

SettingValue MaxReportNamesInEffect(const SettingValue& stored) {
    return std::get<std::int32_t>(stored) < 1 ? Sentrel::kDefaultMaxReportNames : stored;
}

SettingValue PoolSizeInEffect(const SettingValue& stored) {
    return Sentrel::IsResourcePoolSize(std::get<std::int32_t>(stored))
               ? stored
               : Sentrel::kDefaultResourcePoolSizeMB;
}

SettingValue MemoryLimitInEffect(const SettingValue& stored) {
    return Sentrel::MemoryLimitMB(std::get<std::int32_t>(stored), 0);
}

SettingValue FrequencyInEffect(const SettingValue& stored) {
    Sentrel::PluginInfo info;
    Sentrel::SetFrequency(info, std::get<std::string>(stored));
    return std::string(Sentrel::kQueueNames[info.frequency]);
}

SettingValue LogLevelInEffect(const SettingValue& stored) {
    Sentrel::PluginInfo info;
    Sentrel::SetLogLevel(info, std::get<std::string>(stored));
    return info.logLevel.empty() ? SettingValue() : info.logLevel;
}

std::span<const Setting> DaemonSettings() {
    static const std::array<Setting, 5> sSettings = {{
        {.key = "http_port",
         .type = SettingType::Integer,
         .byDefault = Sentrel::kDefaultHttpPort,
         .meaning = "the loopback port on which reports are posted",
         .least = 1,
         .most = kMaxPort,
         .beyond = {Severity::Error, "is not a port, so the daemon does not start", ""},
         .judge = JudgePort,
         .isLoggedIfMissing = true},
        {.key = "fast_queue/time_period_in_mins",
         .type = SettingType::Integer,
         .byDefault = static_cast<std::int32_t>(Sentrel::kDefaultFastPeriodMinutes),
         .meaning =
             "the period of the fast queue (30 s times the number of plugins if that is longer)",
         .unit = "minutes",
         .least = static_cast<std::int32_t>(Sentrel::kDefaultFastPeriodMinutes),
         .inEffect = FastPeriodInEffect},
        {.key = "max_report_names",
         .type = SettingType::Integer,
         .byDefault = Sentrel::kDefaultMaxReportNames,
         .meaning = "how many report names the intake accepts, besides those of enabled plugins",
         .least = 1,
         .inEffect = MaxReportNamesInEffect},
        {.key = "plugin_resource_pool_size_MB",
         .type = SettingType::Integer,
         .byDefault = Sentrel::kDefaultResourcePoolSizeMB,
         .meaning = "the memory reserved for all plugins together",
         .unit = "MiB",
         .least = Sentrel::kDefaultResourcePoolSizeMB + 1,
         .most = Sentrel::kMaxResourcePoolSizeMB,
         .inEffect = PoolSizeInEffect,
         .isLoggedIfMissing = true},
        {.key = "plugin_memory_limit_MB",
         .type = SettingType::Integer,
         .byDefault = Sentrel::kDefaultMemoryLimitMB,
         .meaning =
             "the memory that all plugins together may use, at least the pool; 0 for no limit",
         .unit = "MB",
         .least = 0,
         .inEffect = MemoryLimitInEffect,
         .atLeast = "plugin_resource_pool_size_MB"},
    }};
    return sSettings;
}

std::span<const Setting> FrameworkSettings() {
    static const std::array<Setting, 1> sSettings = {{
        {.key = "log/level",
         .type = SettingType::Integer,
         .byDefault = Pellmar::Service::kDefaultLogLevel,
         .meaning = "what is logged: 3 failures, 5 also milestones, 6 also requests, 7 also traces",
         .least = kLogsFailures,
         .most = kLogsTraces,
         .beyond = {Severity::Warning,
                    "is outside 3 to 7: below 3 failures are not logged, above 7 nothing is added",
                    ""}},
    }};
    return sSettings;
}

std::span<const Setting> TokenSettings() {
    static const std::array<Setting, 3> sSettings = {{
        {.key = "issuer",
         .byDefault = Token::TrustSettings{}.issuer,
         .meaning = "the trusted issuer of tokens (iss)",
         .judge = JudgeNoText},
        {.key = "audience",
         .byDefault = Token::TrustSettings{}.audience,
         .meaning = "the required audience of tokens (aud)",
         .judge = JudgeNoText},
        {.key = "jwks",
         .byDefault = Token::TrustSettings{}.jwks,
         .meaning = "the file with the trusted public keys",
         .judge = JudgeTrustSet},
    }};
    return sSettings;
}

std::span<const Setting> PluginSettings() {
    static const std::array<Setting, 4> sSettings = {{
        {.key = "enabled",
         .type = SettingType::Boolean,
         .byDefault = Sentrel::PluginInfo{}.enabled,
         .meaning = "whether the plugin runs",
         .isLoggedIfMissing = true},
        {.key = "frequency",
         .byDefault = std::string(Sentrel::kQueueNames[Sentrel::PluginInfo{}.frequency]),
         .meaning = "how often it runs: fast every 5 minutes by default, medium every hour, slow "
                    "every day",
         .words = Sentrel::kQueueNames,
         .inEffect = FrequencyInEffect,
         .isLoggedIfMissing = true},
        {.key = "log_level",
         .byDefault = {},
         .meaning = "the log level that the plugin receives",
         .words = Sentrel::kLogLevelNames,
         .inEffect = LogLevelInEffect,
         .isLoggedIfMissing = true},
        {.key = "sandbox",
         .type = SettingType::Boolean,
         .byDefault = Sentrel::PluginInfo{}.sandbox,
         .meaning = "whether the plugin runs in the sandbox, if the daemon is not root"},
    }};
    return sSettings;
}

std::vector<SettingEntry> FixedEntries() {
    const auto entry = [](const char* key, const char* group) {
        return Tabulon::StoreEntry{"", key, group, Sentrel::kDaemonEntryComponent, ""};
    };
    return {{Sentrel::kDaemonEntryKey, entry(Sentrel::kDaemonEntryKey, Sentrel::kDaemonEntryGroup),
             DaemonSettings()},
            {"pellmar", entry("pellmar", Sentrel::kDaemonEntryGroup), FrameworkSettings()},
            {"token", entry("token", "authn"), TokenSettings()}};
}

}  // namespace

SettingEntry EntryOfPluginNamed(const std::string& name) {
    return {name, Sentrel::EntryOfPlugin(name), PluginSettings(), /*isPlugin=*/true};
}

Catalogue ReadCatalogue() {
    Catalogue catalogue{FixedEntries(), {}, ""};
    const std::vector<SettingEntry> fixed = catalogue.entries;
    const auto directory =
        Pellmar::System::SystemFactory::GetFile(Sys::HostPath(Sentrel::kPluginDirectory));
    try {
        for (const Pellmar::Ref<Pellmar::System::File>& file : directory->List(-1)) {
            const std::string name(file->GetName());
            if (file->IsDirectory()) {
                continue;
            }
            if (std::any_of(fixed.begin(), fixed.end(),
                            [&name](const SettingEntry& other) { return other.name == name; })) {
                catalogue.hiddenPlugins.push_back(name);
                continue;
            }
            catalogue.entries.push_back(EntryOfPluginNamed(name));
        }
    } catch (const Pellmar::IOException& exception) {
        catalogue.pluginProblem =
            directory->Exists() ? exception.what() : directory->GetPath() + " is missing";
    }
    return catalogue;
}

}  // namespace Ctl
