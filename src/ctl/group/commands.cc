#include "ctl/group/commands.h"

#include "ctl/group/kill_command.h"
#include "ctl/group/location.h"
#include "ctl/host/daemon_settings.h"
#include "ctl/show/failure.h"
#include "ctl/show/json_output.h"
#include "ctl/show/sizes.h"
#include "ctl/show/table.h"
#include "platform/kernel/groups/cgroup_directory.h"
#include "platform/kernel/groups/groups.h"
#include "plugins/resource_group.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstdint>
#include <ostream>

#include <unistd.h>

namespace Ctl {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<Option, 1> kOptions = {{kJsonOption}};

struct Ensured {
    GroupLocation location;
    bool isNew = false;
    std::int32_t poolSizeMB = 0;
    std::string problem;       // why nothing is reserved; empty if memory is reserved
    std::string limitProblem;  // why a limit is not in force; empty if both are
    Kernel::GroupState state;
};

std::string LimitsText(const Kernel::GroupState& state) {
    const std::string memory =
        state.memoryLimitKB == 0 ? "no memory limit" : SizeText(state.memoryLimitKB * 1024);
    return memory + ", " +
           (state.processLimit == 0 ? "no process limit"
                                    : std::to_string(state.processLimit) + " processes");
}

void WriteEnsured(const Ensured& ensured, std::ostream& output) {
    const std::string size = SizeText(std::uintmax_t(ensured.poolSizeMB) << 20);
    Table facts({{}, {}});
    facts.Add({ensured.isNew ? "Created" : "Exists", Sentrel::kPluginGroupPath});
    facts.Add({"Directory", ensured.state.directory});
    facts.Add({"Found by", OriginOf(ensured.location)});
    facts.Add({"Reserved", ensured.problem.empty()
                               ? size
                               : "nothing of the " + size + " configured: " + ensured.problem});
    facts.Add({"Limits", LimitsText(ensured.state) +
                             (ensured.limitProblem.empty() ? "" : ": " + ensured.limitProblem)});
    facts.Write(output);
}

void WriteEnsuredJson(const Ensured& ensured, std::ostream& output) {
    Json document = {{"path", Sentrel::kPluginGroupPath},
                     {"id", ensured.state.id},
                     {"directory", ensured.state.directory},
                     {"made", ensured.isNew},
                     {"poolSizeMB", ensured.poolSizeMB},
                     {"reservationKB", ensured.state.reservationKB},
                     {"memoryLimitKB", ensured.state.memoryLimitKB},
                     {"processLimit", ensured.state.processLimit}};
    if (!ensured.limitProblem.empty()) {
        document["limitProblem"] = ensured.limitProblem;
    }
    if (!ensured.problem.empty()) {
        document["reservationProblem"] = ensured.problem;
    }
    WriteJson(document, output);
}

void RunEnsure(const Arguments& arguments, std::ostream& output) {
    Ensured ensured;
    ensured.location = FindGroupLocation(FindDaemonIfAny());
    UseGroupLocation(ensured.location);
    ensured.poolSizeMB = Sentrel::ConfiguredResourcePoolSizeMB(ReadDaemonSettings());
    std::int64_t id = 0;
    ensured.isNew = Kernel::Groups().FindId(Sentrel::kPluginGroupPath, id) != 0;
    ensured.problem =
        Kernel::EnsureGroup(Sentrel::kPluginGroupPath, static_cast<unsigned>(ensured.poolSizeMB));
    ensured.limitProblem =
        Kernel::LimitGroup(Sentrel::kPluginGroupPath,
                           Sentrel::PluginGroupLimits(ReadDaemonSettings(), ensured.poolSizeMB));
    ensured.state = Kernel::ShowGroup(Sentrel::kPluginGroupPath);
    if (arguments.options.Has("--json")) {
        WriteEnsuredJson(ensured, output);
    } else {
        WriteEnsured(ensured, output);
    }
}

// Whether the group is frozen, so that launches into it fail.
bool IsFrozen(const Kernel::GroupState& state) {
    Kernel::CgroupDirectory directory;
    return Kernel::CgroupDirectory::Open(state.directory, directory) == 0 && directory.IsFrozen();
}

void WriteState(const GroupLocation& location, const Kernel::GroupState& state,
                std::ostream& output) {
    Table facts({{}, {}});
    facts.Add({"Group", Sentrel::kPluginGroupPath});
    facts.Add({"Id", std::to_string(state.id)});
    facts.Add({"Directory", state.directory});
    facts.Add({"Found by", OriginOf(location)});
    facts.Add(
        {"Frozen", IsFrozen(state) ? "yes: nothing in it runs, every launch is refused" : "no"});
    facts.Add(
        {"Reserved", state.reservationKB == 0 ? "nothing" : SizeText(state.reservationKB * 1024)});
    facts.Add({"Limits", LimitsText(state)});
    facts.Add({"Peak", SizeText(state.memory.peak * 1024)});
    facts.Add({"Peak of member groups", SizeText(state.memory.childrenPeak * 1024)});
    facts.Write(output);
    if (state.processes.empty()) {
        output << "\nNo process is in the group.\n";
        return;
    }
    output << '\n';
    Table processes({{"PID", Table::Align::Right}, {"NAME"}, {"RESIDENT", Table::Align::Right}});
    for (const Kernel::GroupProcess& process : state.processes) {
        processes.Add(
            {std::to_string(process.pid), process.name, SizeText(process.residentKB * 1024)});
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
               {"frozen", IsFrozen(state)},
               {"reservationKB", state.reservationKB},
               {"memoryLimitKB", state.memoryLimitKB},
               {"processLimit", state.processLimit},
               {"peakKB", state.memory.peak},
               {"memberGroupsPeakKB", state.memory.childrenPeak},
               {"processes", processes}},
              output);
}

void RunShow(const Arguments& arguments, std::ostream& output) {
    const GroupLocation location = FindGroupLocation(FindDaemonIfAny());
    if (location.root.kind == Kernel::GroupRoot::Kind::None && location.daemon == 0 &&
        ::geteuid() != 0) {
        throw Failure("cannot find the plugins' resource group: no daemon is visible to this user",
                      "run this as root, or set SENTREL_CGROUP_ROOT to the cgroup above the group");
    }
    UseGroupLocation(location);
    const Kernel::GroupState state = Kernel::ShowGroup(Sentrel::kPluginGroupPath);
    if (arguments.options.Has("--json")) {
        WriteStateJson(state, output);
    } else {
        WriteState(location, state, output);
    }
}

constexpr std::array<Command, 3> kCommands = {{
    {"group ensure",
     "create the plugins' resource group and reserve memory for it",
     "Creates the cgroup in which all plugins run, and reserves as much memory for it as the\n"
     "setting plugin_resource_pool_size_MB says (64 MB as shipped). It lies below the cgroup\n"
     "that SENTREL_CGROUP_ROOT names, otherwise the one that the running daemon uses,\n"
     "otherwise the cgroup v2 mount. An existing group is kept, and its reservation is\n"
     "renewed. While the group is missing the daemon refuses every launch; in a delegated\n"
     "unit the daemon creates it itself.\n",
     "sentrelctl group ensure",
     kOptions,
     {},
     RunEnsure},
    {"group show",
     "show the plugins' resource group, its memory and its processes",
     "Shows the id and directory of the cgroup in which all plugins run, how it was found\n"
     "(see \"group ensure\"), its reservation, its peak memory, that of the groups inside it,\n"
     "and its processes. If the kernel records no peak, the resident memory is shown\n"
     "instead. Sizes in JSON are in kilobytes (1024 bytes).\n",
     "sentrelctl group show --json",
     kOptions,
     {},
     RunShow},
    {"group kill",
     "kill processes that outlived their run",
     "When the time of a plugin is over, the daemon sends SIGTERM to the plugin, but not to\n"
     "processes that it started. This command sends SIGKILL to every process of the\n"
     "group (see \"group show\") that is older than the daemon, or than the longest time that\n"
     "a plugin can run: the shortest period of the queues that have plugins, plus 30\n"
     "seconds. It lists what it killed. The age of a process is that of its plugin, or its\n"
     "own once the plugin has exited.\n",
     "sentrelctl group kill",
     kGroupKillOptions,
     {},
     RunGroupKill},
}};

}  // namespace

std::span<const Command> GroupCommands() { return kCommands; }

}  // namespace Ctl
