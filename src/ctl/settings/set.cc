#include "ctl/settings/set.h"

#include "ctl/command/command_line.h"
#include "ctl/settings/host_file.h"
#include "ctl/settings/name.h"
#include "ctl/settings/rules.h"
#include "ctl/settings/state.h"
#include "ctl/show/failure.h"
#include "ctl/show/json_output.h"
#include "ctl/show/printable.h"
#include "ctl/show/table.h"
#include "platform/sys/host_root.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>
#include <ostream>
#include <string>
#include <utility>

namespace Ctl {

namespace {

constexpr const char* kRestart = "systemctl restart sentrel";

struct Change {
    std::string name;
    std::string path;                   // the host's file
    std::optional<SettingValue> value;  // nothing: it is removed
    SettingState before;
    SettingState after;  // equal to before if nothing changed
    bool isMade = false;
};

// The wanted value; nothing for --unset.
std::optional<SettingValue> WantedValue(const NamedSetting& named, const Arguments& arguments) {
    const bool hasValue = arguments.operands.size() > 1;
    if (hasValue == arguments.options.Has("--unset")) {
        throw UsageError("\"config set\" needs either a VALUE or --unset",
                         "see \"sentrelctl config set --help\"");
    }
    if (!hasValue) {
        return std::nullopt;
    }
    std::string problem;
    std::optional<SettingValue> value = ParseValue(named.setting, arguments.operands[1], problem);
    if (!value) {
        throw UsageError(FullName(named.entry, named.setting) + ": \"" + arguments.operands[1] +
                         "\" " + problem);
    }
    return value;
}

SettingState ReadState(const NamedSetting& named) {
    const EntryState state = ReadEntryState(named.entry);
    if (!state.faults.empty()) {
        const FileFault& fault = state.faults.front();
        throw Failure(fault.text, (fault.isDenied ? "" : "first ") + fault.advice);
    }
    return *std::find_if(
        state.settings.begin(), state.settings.end(),
        [&named](const SettingState& setting) { return setting.setting == &named.setting; });
}

bool IsSo(const SettingState& state, const std::optional<SettingValue>& value) {
    return value ? state.stored == value : !state.hostText;
}

Change MakeChange(const NamedSetting& named, std::optional<SettingValue> value, Comments comments) {
    Change change;
    change.name = FullName(named.entry, named.setting);
    change.path = Tabulon::PathsOf(named.entry.entry).host;
    change.value = std::move(value);
    change.before = change.after = ReadState(named);
    if (IsSo(change.before, change.value)) {
        return change;  // read without a lock, which not every user can take
    }
    const HostFileLock lock(change.path);
    change.before = change.after = ReadState(named);
    if (!IsSo(change.before, change.value)) {
        ChangeHostFile(change.path, named.setting.key, change.value, comments);
        change.after = ReadState(named);
        change.isMade = true;
    }
    return change;
}

std::string ValueAndOrigin(const SettingState& state) {
    const bool isNone = std::holds_alternative<std::monostate>(state.inEffect);
    return (isNone ? "none" : TextOf(state.inEffect)) + " (" + NameOf(state.origin) + ")";
}

// The note about the new value; empty if there is none.
std::string NoteOn(const Change& change) {
    const Judgement judgement = change.value ? JudgementOn(change.after) : Judgement{};
    return judgement.severity == Severity::Good ? "" : TextOf(*change.value) + " " + judgement.text;
}

void Write(const Change& change, std::ostream& output) {
    if (!change.isMade) {
        output << (change.value ? change.name + " is already "
                                : "This host's file has no " + change.name + "; it is ")
               << PrintableText(ValueAndOrigin(change.before)) << "; nothing is written.\n";
        return;
    }
    Table facts({{}, {}});
    facts.Add({"Setting", change.name});
    facts.Add({"Was", ValueAndOrigin(change.before)});
    facts.Add({"Is", ValueAndOrigin(change.after)});
    facts.Add({"Written", Sys::HostPath(change.path)});
    if (const std::string note = NoteOn(change); !note.empty()) {
        facts.Add({"Note", note});
    }
    facts.Write(output);
    // The unit belongs to this machine, not to a host root in a directory.
    const bool isOwnHost = Sys::HostPath("").empty();
    output << "\nTakes effect when the daemon starts next"
           << (isOwnHost ? std::string(": ") + kRestart : ".") << '\n';
}

void WriteAsJson(const Change& change, std::ostream& output) {
    nlohmann::ordered_json document = {{"setting", change.name},
                                       {"changed", change.isMade},
                                       {"was", ToJson(change.before.inEffect)},
                                       {"wasFrom", NameOf(change.before.origin)},
                                       {"value", ToJson(change.after.inEffect)},
                                       {"from", NameOf(change.after.origin)},
                                       {"file", Sys::HostPath(change.path)}};
    if (const std::string note = NoteOn(change); !note.empty()) {
        document["note"] = note;
    }
    WriteJson(document, output);
}

}  // namespace

void RunConfigSet(const Arguments& arguments, std::ostream& output) {
    const Catalogue catalogue = ReadCatalogue();
    const NamedSetting named = FindSetting(catalogue, arguments.operands[0]);
    const Comments comments =
        arguments.options.Has("--discard-comments") ? Comments::Discarded : Comments::Kept;
    const Change change = MakeChange(named, WantedValue(named, arguments), comments);
    if (arguments.options.Has("--json")) {
        WriteAsJson(change, output);
    } else {
        Write(change, output);
    }
}

}  // namespace Ctl
