#include "ctl/settings/check.h"

#include "ctl/settings/catalog.h"
#include "ctl/settings/rules.h"
#include "ctl/settings/state.h"
#include "ctl/settings/store_file_check.h"
#include "ctl/show/near_names.h"
#include "ctl/show/words.h"
#include "platform/sys/host_root.h"
#include "plugins/discovery.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace Ctl {

namespace {

std::string SubjectOf(const SettingEntry& entry) {
    return (entry.isPlugin ? "plugin " : "entry ") + entry.name;
}

const std::string& PathOf(Origin origin, const EntryState& state) {
    return origin == Origin::VendorFile ? state.paths.vendor : state.paths.host;
}

// The value as in the file: a text in quotes.
std::string Quoted(const SettingValue& value) {
    return std::holds_alternative<std::string>(value) ? "\"" + TextOf(value) + "\"" : TextOf(value);
}

std::string ValueOrNone(const SettingValue& value) {
    return std::holds_alternative<std::monostate>(value) ? "none" : TextOf(value);
}

class EntryCheck {
  public:
    EntryCheck(const SettingEntry& entry, std::vector<Finding>& findings)
        : entry(entry), state(ReadEntryState(entry)), findings(findings) {}

    void Run() {
        if (!state.faults.empty()) {
            CheckFaults();
            return;
        }
        if (entry.isPlugin && !state.hasVendorFile && !state.hasHostFile) {
            Add(Severity::Error, SubjectOf(entry),
                "has no entry in the configuration store, so the daemon skips it",
                "sentrelctl config set " + entry.name + ".enabled true");
            return;
        }
        for (const SettingState& setting : state.settings) {
            CheckType(setting);
            CheckValue(setting);
            CheckRepetition(setting);
        }
        CheckMissing();
        CheckUnknown();
        for (const RepeatedName& repeated : state.repeated) {
            Add(Severity::Warning, repeated.path, repeated.text + ": the last one counts",
                "remove the others");
        }
    }

  private:
    void Add(Severity severity, std::string subject, std::string text, std::string remedy) {
        findings.push_back({severity, std::move(subject), std::move(text), std::move(remedy)});
    }
    std::string NameOf(const Setting& setting) const {
        return entry.name + "." + std::string(setting.key);
    }

    void CheckFaults() {
        for (const FileFault& fault : state.faults) {
            if (fault.isDenied) {
                Add(Severity::Warning, SubjectOf(entry), fault.text, fault.advice);
                continue;
            }
            Add(Severity::Error, SubjectOf(entry), fault.text,
                fault.advice + "; until then the daemon " +
                    (entry.isPlugin ? "skips this plugin" : "does not start"));
        }
    }

    void CheckType(const SettingState& setting) {
        if (!setting.fault.empty()) {
            Add(Severity::Warning, NameOf(*setting.setting),
                "\"" + setting.faultyKey + "\" " + setting.fault + ", so it counts as missing; " +
                    ValueOrNone(setting.inEffect) + " is used instead",
                "correct it in " + PathOf(setting.storedIn, state));
        }
    }

    void CheckValue(const SettingState& found) {
        const Setting& setting = *found.setting;
        const SettingValue& value = found.stored ? *found.stored : setting.byDefault;
        if (std::holds_alternative<std::monostate>(value)) {
            return;
        }
        const Judgement judgement = JudgementOn(found);
        if (judgement.severity != Severity::Good) {
            Add(judgement.severity, NameOf(setting), Quoted(value) + " " + judgement.text,
                judgement.remedy.empty() ? "sentrelctl config set " + NameOf(setting) + " VALUE (" +
                                               AcceptedValues(setting) + ")"
                                         : judgement.remedy);
        }
    }

    void CheckRepetition(const SettingState& setting) {
        if (setting.hostText && setting.hostText == setting.vendorText) {
            Add(Severity::Notice, NameOf(*setting.setting),
                "this host's file repeats the vendor's " + *setting.hostText,
                "to follow the vendor: sentrelctl config set " + NameOf(*setting.setting) +
                    " --unset");
        }
    }

    void CheckMissing() {
        std::vector<std::string> names;
        for (const SettingState& setting : state.settings) {
            if (setting.setting->isLoggedIfMissing && !setting.stored && setting.fault.empty()) {
                names.emplace_back(setting.setting->key);
            }
        }
        if (!names.empty()) {
            Add(Severity::Notice, SubjectOf(entry),
                "has no " + Enumerated(names, "or") +
                    ", so the defaults apply, and the daemon logs that at each start",
                "sentrelctl config set " + entry.name + ".KEY VALUE");
        }
    }

    void CheckUnknown() {
        std::vector<std::string> keys;
        for (const Setting& setting : entry.settings) {
            keys.emplace_back(setting.key);
        }
        for (const UnknownMember& member : state.unknown) {
            const std::vector<std::string> near = FindNearNames(member.key, keys);
            Add(Severity::Warning, member.path,
                "unknown setting \"" + member.key + "\", which has no effect",
                near.empty() ? "remove it"
                             : "the closest setting is " + near.front() +
                                   (near.front().find('/') == std::string::npos
                                        ? ""
                                        : ", written as an object for the part before the \"/\""));
        }
    }

    const SettingEntry& entry;
    const EntryState state;
    std::vector<Finding>& findings;
};

void CheckPlugins(const Catalogue& catalogue, std::vector<Finding>& findings) {
    if (!catalogue.pluginProblem.empty()) {
        findings.push_back({Severity::Error, "plugins",
                            catalogue.pluginProblem + ", so the daemon does not start",
                            "mkdir -p " + Sys::HostPath(Sentrel::kPluginDirectory)});
    }
    for (const std::string& name : catalogue.hiddenPlugins) {
        findings.push_back({Severity::Warning, "plugin " + name,
                            "has the name of another entry, so its settings are mixed up with "
                            "those or cannot be set here",
                            "rename the plugin"});
    }
}

}  // namespace

std::vector<Finding> CheckPluginSettings(const std::string& plugin) {
    const SettingEntry entry = EntryOfPluginNamed(plugin);
    std::vector<Finding> findings;
    EntryCheck(entry, findings).Run();
    return findings;
}

std::vector<Finding> CheckConfiguration() {
    const Catalogue catalogue = ReadCatalogue();
    std::vector<Finding> findings;
    std::size_t settings = 0;
    CheckPlugins(catalogue, findings);
    for (const SettingEntry& entry : catalogue.entries) {
        EntryCheck(entry, findings).Run();
        settings += entry.settings.size();
    }
    CheckStoreFiles(catalogue, findings);
    if (findings.empty()) {
        findings.push_back({Severity::Good, "settings",
                            Counted(settings, "setting") + " in " +
                                Counted(catalogue.entries.size(), "entry", "entries") +
                                " are valid",
                            ""});
    }
    return findings;
}

}  // namespace Ctl
