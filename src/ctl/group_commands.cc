#include "ctl/group_commands.h"

#include "ctl/daemon_settings.h"
#include "ctl/table.h"
#include "platform/kernel/cgroup_location.h"
#include "platform/kernel/groups.h"
#include "platform/pellmar/exceptions.h"
#include "plugins/resource_group.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstdint>
#include <cstdio>
#include <ostream>

namespace Ctl {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<Option, 1> kOptions = {{
    {"--json", "", "print one JSON object, in one line"},
}};

struct Ensured {
    bool isNew = false;
    std::int32_t poolSizeMB = 0;
    std::string problem;  // why nothing is reserved; empty when the reservation stands
    Kernel::GroupState state;
};

// Groups that are kept in a process end with it, so the tool can neither make nor see one.
void RequireLastingGroups() {
    if (!Kernel::Groups().PlacesByDirectory()) {
        throw Pellmar::Exception(
            "no resource group that lasts can be made here: " + Kernel::LocateGroupRoot().reason +
            "; run this as root where a cgroup v2 hierarchy is mounted, or set "
            "SENTREL_CGROUP_ROOT to a cgroup that this user may write");
    }
}

std::string Megabytes(std::uint64_t kilobytes) {
    std::array<char, 32> text{};
    (void)std::snprintf(text.data(), text.size(), "%.1f MB",  // cannot be longer than that
                        static_cast<double>(kilobytes) / 1024);
    return text.data();
}

// In one line. Names of processes need not be UTF-8; a cgroup's neither.
void WriteJson(const Json& document, std::ostream& output) {
    output << document.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
}

void WriteEnsured(const Ensured& ensured, std::ostream& output) {
    const std::string size = std::to_string(ensured.poolSizeMB) + " MB";
    Table facts({{}, {}});
    facts.Add({ensured.isNew ? "Made" : "Was there", Sentrel::kPluginGroupPath});
    facts.Add({"Directory", ensured.state.directory});
    facts.Add({"Reserved", ensured.problem.empty()
                               ? size
                               : "nothing of the " + size + " configured: " + ensured.problem});
    facts.Write(output);
}

void WriteEnsuredJson(const Ensured& ensured, std::ostream& output) {
    Json document = {
        {"path", Sentrel::kPluginGroupPath},    {"id", ensured.state.id},
        {"directory", ensured.state.directory}, {"made", ensured.isNew},
        {"poolSizeMB", ensured.poolSizeMB},     {"reservationKB", ensured.state.reservationKB}};
    if (!ensured.problem.empty()) {
        document["reservationProblem"] = ensured.problem;
    }
    WriteJson(document, output);
}

void RunEnsure(const Arguments& arguments, std::ostream& output) {
    RequireLastingGroups();
    Ensured ensured;
    ensured.poolSizeMB = Sentrel::ConfiguredResourcePoolSizeMB(ReadDaemonSettings());
    std::int64_t id = 0;
    ensured.isNew = Kernel::Groups().FindId(Sentrel::kPluginGroupPath, id) != 0;
    ensured.problem =
        Kernel::EnsureGroup(Sentrel::kPluginGroupPath, static_cast<unsigned>(ensured.poolSizeMB));
    ensured.state = Kernel::ShowGroup(Sentrel::kPluginGroupPath);
    if (arguments.options.Has("--json")) {
        WriteEnsuredJson(ensured, output);
    } else {
        WriteEnsured(ensured, output);
    }
}

void WriteState(const Kernel::GroupState& state, std::ostream& output) {
    Table facts({{}, {}});
    facts.Add({"Group", Sentrel::kPluginGroupPath});
    facts.Add({"Id", std::to_string(state.id)});
    facts.Add({"Directory", state.directory});
    facts.Add({"Reserved", state.reservationKB == 0 ? "nothing" : Megabytes(state.reservationKB)});
    facts.Add({"Peak", Megabytes(state.memory.peak)});
    facts.Add({"Peak of member groups", Megabytes(state.memory.childrenPeak)});
    facts.Write(output);
    if (state.processes.empty()) {
        output << "\nNo process is in the group.\n";
        return;
    }
    output << '\n';
    Table processes({{"PID", Table::Align::Right}, {"NAME"}, {"RESIDENT", Table::Align::Right}});
    for (const Kernel::GroupProcess& process : state.processes) {
        processes.Add({std::to_string(process.pid), process.name, Megabytes(process.residentKB)});
    }
    processes.Write(output);
}

void WriteStateJson(const Kernel::GroupState& state, std::ostream& output) {
    Json processes = Json::array();
    for (const Kernel::GroupProcess& process : state.processes) {
        processes.push_back(
            {{"pid", process.pid}, {"name", process.name}, {"residentKB", process.residentKB}});
    }
    WriteJson({{"path", Sentrel::kPluginGroupPath},
               {"id", state.id},
               {"directory", state.directory},
               {"reservationKB", state.reservationKB},
               {"peakKB", state.memory.peak},
               {"memberGroupsPeakKB", state.memory.childrenPeak},
               {"processes", processes}},
              output);
}

void RunShow(const Arguments& arguments, std::ostream& output) {
    RequireLastingGroups();
    const Kernel::GroupState state = Kernel::ShowGroup(Sentrel::kPluginGroupPath);
    if (arguments.options.Has("--json")) {
        WriteStateJson(state, output);
    } else {
        WriteState(state, output);
    }
}

constexpr std::array<Command, 2> kCommands = {{
    {"group ensure",
     "make the plugins' resource group and reserve memory for it",
     "Makes the cgroup that all plugins run in, below SENTREL_CGROUP_ROOT when that is set, else\n"
     "below the cgroup v2 mount, and reserves the memory for it that the daemon's setting\n"
     "plugin_resource_pool_size_MB gives (40 MB by default). May be repeated: what is there "
     "stays,\n"
     "and the reservation is renewed. Until the group is there the daemon refuses every launch; a\n"
     "daemon in a delegated unit makes its own.\n",
     "sentrelctl group ensure",
     kOptions,
     {},
     RunEnsure},
    {"group show",
     "show the plugins' resource group, what it uses and who is in it",
     "Shows the id and directory of the cgroup that all plugins run in, its reservation, the "
     "peaks\n"
     "of its memory and of the groups inside it, and its processes. Where the kernel keeps no "
     "peak,\n"
     "what is resident now stands in its place. Sizes in JSON are in kilobytes (1024 bytes).\n",
     "sentrelctl group show --json",
     kOptions,
     {},
     RunShow},
}};

}  // namespace

std::span<const Command> GroupCommands() { return kCommands; }

}  // namespace Ctl
