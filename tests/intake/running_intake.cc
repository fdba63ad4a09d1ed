#include "intake/running_intake.h"

#include "platform/tabulon/json_config.h"

#include <cstdlib>
#include <filesystem>

namespace Test {

Pellmar::Ref<Pellmar::Service::ConfigReader> DaemonSettings(std::string_view text) {
    static const HostDirectory kHost;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing of this process reads it meanwhile
    (void)::setenv("SENTREL_ROOT", kHost.Root().c_str(), 1);  // fails only without memory
    const std::string entry = kHost.WriteStoreEntry("sentrel", text);
    if (text.empty()) {
        std::filesystem::remove(entry);
    }
    const Pellmar::Ref<Pellmar::Service::Config> config =
        Tabulon::CreateTabulonConfigWithFallbackToDefault(
            {{.first = "", .key = "sentrel", .group = "health", .component = "oru", .last = ""}});
    config->Initialize();
    return config->GetReader();
}

RunningIntake::RunningIntake() : endpoint(Pellmar::MakeRef<Sentrel::Endpoint>()) {
    endpoint->Start(DaemonSettings(), Directory());
}

std::vector<std::string> RunningIntake::HandlerLinesFrom(std::size_t start) const {
    constexpr std::string_view kName = " SentrelHandler: ";
    std::vector<std::string> messages;
    for (const std::string& line : log.Lines()) {
        if (line.compare(1, kName.size(), kName) == 0) {
            messages.push_back(line.substr(0, 2) + line.substr(1 + kName.size()));
        }
    }
    messages.erase(messages.begin(), messages.begin() + static_cast<std::ptrdiff_t>(start));
    return messages;
}

std::vector<std::string> RunningIntake::Failures() const {
    std::vector<std::string> failures;
    for (const std::string& message : HandlerLinesFrom(0)) {
        if (message.starts_with("3 ")) {
            failures.push_back(message.substr(2));
        }
    }
    return failures;
}

}  // namespace Test
