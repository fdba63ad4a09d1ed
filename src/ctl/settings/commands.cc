#include "ctl/settings/commands.h"

#include "ctl/settings/check.h"
#include "ctl/settings/name.h"
#include "ctl/settings/rules.h"
#include "ctl/settings/set.h"
#include "ctl/settings/state.h"
#include "ctl/show/failure.h"
#include "ctl/show/json_output.h"
#include "ctl/show/printable.h"
#include "ctl/show/table.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <ostream>
#include <string>
#include <vector>

namespace Ctl {

namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr std::array<Option, 2> kListOptions = {{
    {"--full", "", "also show what each setting accepts and means"},
    kJsonOption,
}};
constexpr std::array<Option, 1> kGetOptions = {
    {{"--json", "", "print value, origin, default and meaning as one line of JSON"}}};
constexpr std::array<Option, 3> kSetOptions = {{
    {"--unset", "", "remove this host's value, so that the vendor's or the default applies"},
    {"--discard-comments", "", "rewrite a file that has comments, without them"},
    kJsonOption,
}};
constexpr std::array<Option, 1> kCheckOptions = {{kJsonOption}};

// Why the value in effect differs from the files; empty if it does not.
std::string RemarkOn(const SettingState& state) {
    if (!state.fault.empty()) {
        return "\"" + state.faultyKey + "\" in the " + NameOf(state.storedIn) + " " + state.fault;
    }
    if (!state.stored) {
        return state.hostText ? "the host file removes the vendor's value" : "";
    }
    if (state.inEffect == *state.stored) {
        return "";
    }
    return "\"" + TextOf(*state.stored) + "\" in the " + NameOf(state.storedIn) +
           (Counts(*state.setting, *state.stored) ? " counts as this" : " is ignored");
}

std::string ShownValue(const SettingState& state) {
    const std::string text = TextOf(state.inEffect);
    return text.empty() ? "none" : text;
}

std::string MeaningOf(const Setting& setting) {
    return std::string(setting.meaning) +
           (setting.unit.empty() ? "" : ", in " + std::string(setting.unit));
}

std::string FromOf(const SettingState& state) {
    const std::string remark = RemarkOn(state);
    return NameOf(state.origin) + (remark.empty() ? "" : ": " + remark);
}

void WriteList(const Catalogue& catalogue, bool isFull, std::ostream& output) {
    std::vector<Table::Column> columns = {{"SETTING"}, {"VALUE"}, {"FROM"}};
    if (isFull) {
        columns.insert(columns.end(), {{"ACCEPTS"}, {"MEANING"}});
    }
    Table table(columns);
    for (const SettingEntry& entry : catalogue.entries) {
        const EntryState state = ReadEntryState(entry);
        const bool isBroken = !state.faults.empty();
        for (const SettingState& setting : state.settings) {
            const std::string name = FullName(entry, *setting.setting);
            const std::string value = isBroken ? "broken" : ShownValue(setting);
            const std::string from = isBroken ? state.faults.front().text : FromOf(setting);
            if (isFull) {
                table.Add({name, value, from, AcceptedValues(*setting.setting),
                           MeaningOf(*setting.setting)});
            } else {
                table.Add({name, value, from});
            }
        }
    }
    table.Write(output);
}

OrderedJson RowOf(const SettingEntry& entry, const EntryState& state, const SettingState& setting) {
    OrderedJson row = {{"setting", FullName(entry, *setting.setting)},
                       {"value", ToJson(setting.inEffect)},
                       {"from", NameOf(setting.origin)}};
    if (!state.faults.empty()) {
        row["value"] = nullptr;
        row["from"] = "broken";
        row["remark"] = state.faults.front().text;
    } else if (const std::string remark = RemarkOn(setting); !remark.empty()) {
        row["remark"] = remark;
    }
    row["default"] = ToJson(setting.setting->byDefault);
    row["accepts"] = AcceptedValues(*setting.setting);
    row["meaning"] = MeaningOf(*setting.setting);
    row["vendorFile"] = state.paths.vendor;
    row["hostFile"] = state.paths.host;
    return row;
}

void RunList(const Arguments& arguments, std::ostream& output) {
    const Catalogue catalogue = ReadCatalogue();
    if (!arguments.options.Has("--json")) {
        WriteList(catalogue, arguments.options.Has("--full"), output);
        return;
    }
    OrderedJson rows = OrderedJson::array();
    for (const SettingEntry& entry : catalogue.entries) {
        const EntryState state = ReadEntryState(entry);
        for (const SettingState& setting : state.settings) {
            rows.push_back(RowOf(entry, state, setting));
        }
    }
    WriteJson(rows, output);
}

void RunGet(const Arguments& arguments, std::ostream& output) {
    const Catalogue catalogue = ReadCatalogue();
    const NamedSetting named = FindSetting(catalogue, arguments.operands[0]);
    const EntryState state = ReadEntryState(named.entry);
    if (!state.faults.empty()) {
        throw Failure(state.faults.front().text, state.faults.front().advice);
    }
    const auto setting = std::find_if(
        state.settings.begin(), state.settings.end(),
        [&named](const SettingState& other) { return other.setting == &named.setting; });
    if (arguments.options.Has("--json")) {
        WriteJson(RowOf(named.entry, state, *setting), output);
    } else {
        output << PrintableText(TextOf(setting->inEffect)) << '\n';
    }
}

int JudgeConfiguration(const Arguments& arguments, std::ostream& output) {
    const std::vector<Finding> findings = CheckConfiguration();
    return ReportFindings(findings, arguments.options.Has("--json"), output);
}

constexpr std::array<Command, 4> kCommands = {{
    {"config list",
     "show all settings, their values and where these come from",
     "Shows the settings of the daemon (entry sentrel), of its framework (pellmar), of its\n"
     "tokens (token) and of each installed plugin, with the values that the daemon would use\n"
     "if it started now. This host's files are below /etc/korvex/tabulon, the vendor's below\n"
     "/usr/lib/korvex/tabulon.\n",
     "sentrelctl config list --full",
     kListOptions,
     {},
     RunList},
    {"config get",
     "print the value of a setting",
     "Prints only the value that the daemon would use if it started now; an empty line if\n"
     "there is none. A setting is written ENTRY.KEY, as \"config list\" shows it.\n",
     "sentrelctl config get sentrel.http_port",
     kGetOptions,
     {"ENTRY.KEY", 1, 1, Completes::Setting},
     RunGet},
    {"config set",
     "set a value on this host",
     "Writes the value into this host's file of the entry. The file is replaced atomically,\n"
     "and its other content is kept. A value that the setting does not accept is refused;\n"
     "texts need no quotes. The daemon reads its settings only when it starts.\n",
     "sentrelctl config set sentrel.fast_queue/time_period_in_mins 15",
     kSetOptions,
     {"ENTRY.KEY [VALUE]", 1, 2, Completes::Setting, Completes::SettingValue},
     RunConfigSet},
    {"config check",
     "find broken files, unknown keys and values without effect",
     "Inspects all files of the configuration store for syntax errors, unknown keys, values\n"
     "without effect, unsafe owners or modes and files that are never read, and checks that\n"
     "each plugin has an entry.\n"
     "\n"
     "Exit status: 0; 1 if it finds an error; 2 if the command line is invalid.\n",
     "sentrelctl config check",
     kCheckOptions,
     {},
     nullptr,
     JudgeConfiguration},
}};

}  // namespace

std::span<const Command> ConfigCommands() { return kCommands; }

}  // namespace Ctl
