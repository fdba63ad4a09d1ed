// WriteCandidates: the names of the host. A person is waiting, so this neither reads reports nor
// waits for a busy daemon.
#include "ctl/host/host.h"
#include "ctl/api/client.h"
#include "ctl/api/signing.h"
#include "ctl/completion/completion.h"
#include "ctl/host/daemon_settings.h"
#include "ctl/host/plugin_survey.h"
#include "ctl/reports/state.h"
#include "ctl/settings/name.h"
#include "ctl/settings/rules.h"
#include "ctl/show/failure.h"
#include "ctl/show/json_output.h"
#include "ctl/show/printable.h"
#include "ctl/show/times.h"
#include "platform/bindings/reports_definition.h"
#include "platform/bindings/runtime_definition.h"
#include "store/publisher.h"
#include "store/report_name.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <exception>
#include <ostream>

namespace Ctl {

namespace {

using Candidates = std::vector<Candidate>;

bool Fits(const std::string& word, const std::string& typed) {
    return word.starts_with(':') ||  // the shell completes it
           Sentrel::IsSameReportName(std::string_view(word).substr(0, typed.size()), typed);
}

constexpr std::chrono::milliseconds kPatience{300};  // the longest wait for the API

std::string AgeOfReport(const std::string& time) {
    return AgeText(AgeOf(time, std::chrono::system_clock::now())) + " old";
}

Candidates ReportNamesOfApi(const Host& host) {
    const nlohmann::ordered_json result =
        ConnectApi(host, kPatience)
            .Call("com.korvex.oru.observability.reports.list", {{"detail", "BRIEF"}});
    Candidates candidates;
    for (const nlohmann::ordered_json& report : result.at("reports")) {
        candidates.push_back({TextOf(report, "name"), AgeOfReport(TextOf(report, "time"))});
    }
    return candidates;
}

Candidates ReportNames(const Completion& completion) {
    const Host host = HostOf(completion.options);
    std::string directory;
    try {
        directory = RequireReportDirectory(host);
    } catch (const Failure&) {
        return ReportNamesOfApi(host);
    }
    Candidates candidates;
    for (const Sentrel::ReportFile& file :
         Sentrel::Publisher(directory, SilentLogger()).ListReportFiles({})) {
        if (Fits(file.name, completion.typed)) {
            candidates.push_back({file.name, AgeOfReport(file.modified)});
        }
    }
    return candidates;
}

Candidates PluginNames() {
    Candidates candidates;
    for (const SurveyedPlugin& plugin : SurveyPlugins().entries) {
        if (plugin.entry.verdict != Sentrel::PluginVerdict::Directory) {
            candidates.push_back({plugin.Name(), std::string(StateOf(plugin))});
        }
    }
    return candidates;
}

Candidates States() {
    Candidates candidates;
    for (const ReportState state : kReportStates) {
        candidates.push_back({std::string(NameOf(state)), ""});
    }
    return candidates;
}

Candidates Operations() {
    std::vector<Quon::Definition::Service> services = Quon::Bindings::DescribeRuntimeServices();
    services.push_back(Com::Korvex::Oru::Observability::ReportsSvc::Describe());
    Candidates candidates;
    for (const Quon::Definition::Service& service : services) {
        for (const Quon::Definition::Operation& operation : service.operations) {
            candidates.push_back({service.id + "." + operation.name, operation.documentation});
        }
    }
    return candidates;
}

Candidates Settings() {
    Candidates candidates;
    for (const SettingEntry& entry : ReadCatalogue().entries) {
        for (const Setting& setting : entry.settings) {
            candidates.push_back({FullName(entry, setting), std::string(setting.meaning)});
        }
    }
    return candidates;
}

// All values of a switch or a choice; of other settings the default.
Candidates SettingValues(const Completion& completion) {
    const Catalogue catalogue = ReadCatalogue();
    const Setting& setting = FindSetting(catalogue, completion.operands.front()).setting;
    Candidates candidates;
    if (setting.type == SettingType::Boolean) {
        candidates = {{"true", ""}, {"false", ""}};
    }
    for (const char* word : setting.words) {
        candidates.push_back({word, ""});
    }
    const std::string byDefault = TextOf(setting.byDefault);
    const auto same =
        std::find_if(candidates.begin(), candidates.end(),
                     [&byDefault](const Candidate& other) { return other.word == byDefault; });
    if (same != candidates.end()) {
        same->description = "default";
    } else if (!byDefault.empty()) {
        candidates.push_back({byDefault, "default"});
    }
    return candidates;
}

Candidates CandidatesOfHost(const Completion& completion) {
    switch (completion.completes) {
        case Completes::Nothing:
            break;
        case Completes::File:
            return {{":file", ""}};
        case Completes::Directory:
            return {{":directory", ""}};
        case Completes::ReportName:
            return ReportNames(completion);
        case Completes::PluginName:
            return PluginNames();
        case Completes::State:
            return States();
        case Completes::Operation:
            return Operations();
        case Completes::Setting:
            return Settings();
        case Completes::SettingValue:
            return SettingValues(completion);
        case Completes::Privilege:
            return {{std::string(kReadPrivilege), "read health reports"}};
    }
    return {};
}

}  // namespace

void WriteCandidates(const Completion& completion, std::ostream& output) {
    Candidates candidates = completion.candidates;
    try {
        const Candidates more = CandidatesOfHost(completion);
        candidates.insert(candidates.end(), more.begin(), more.end());
    } catch (const std::exception&) {
        // completion shows no errors
    }
    for (const Candidate& candidate : candidates) {
        // skips names that a terminal or shell would not reproduce
        if (!Fits(candidate.word, completion.typed) ||
            PrintableText(candidate.word) != candidate.word) {
            continue;
        }
        const bool isMarker = candidate.word.starts_with(':');
        output << (isMarker ? "" : completion.before) << candidate.word
               << (candidate.description.empty() ? "" : "\t") << candidate.description << '\n';
    }
}

}  // namespace Ctl
