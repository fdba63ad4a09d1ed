#include "checks/bonds.h"

#include "checks/host_files.h"

#include <string_view>
#include <vector>

namespace Checks {

namespace {

using SentrelCheck::Bad;
using SentrelCheck::Limits;
using SentrelCheck::MatchesAny;
using SentrelCheck::Report;
using SentrelCheck::Settings;
using SentrelCheck::Status;

// Members of a bond that are up: with only one, the next failure cuts the host off.
constexpr Limits kMembersUp{2, 1};

std::string ReadWord(const std::string& path) { return ReadSmallFile(path).value_or(""); }

void JudgeBond(const std::string& net, const std::string& bond, const Limits& limits,
               Report& report) {
    const std::string slaves = ReadWord(net + bond + "/bonding/slaves");
    const std::vector<std::string_view> members = SplitFields(slaves);
    if (members.empty()) {
        report.Find(Status::Error, "the bond " + bond + " has no members");
        return;
    }
    std::string down;
    double upCount = 0;
    for (const std::string_view member : members) {
        const std::string name(member);
        if (ReadWord(net + name + "/bonding_slave/mii_status") == "up") {
            ++upCount;
        } else {
            down += (down.empty() ? "" : ", ") + name;
        }
    }
    // A bond of one member never had two.
    Limits judged = limits;
    if (judged.warning && static_cast<double>(members.size()) < *judged.warning) {
        judged.warning.reset();
    }
    report.Judge("members up in the bond " + bond + ":", {"members:" + bond, upCount, "", judged},
                 Bad::Low);
    if (!down.empty()) {
        report.Find(Status::Warning, "down in the bond " + bond + ": " + down);
    }
}

// "up" is fine, and so is "unknown", the state of links that do not report one.
bool IsDown(const std::string& net, const std::string& link) {
    const std::string state = ReadWord(net + link + "/operstate");
    return state == "down" || state == "lowerlayerdown" || state == "notpresent";
}

// Judges only ports that lead out of the host: the ports of guests come and go with them.
void JudgeBridge(const std::string& net, const std::string& bridge, Report& report) {
    for (const std::string& port : ListDirectory(net + bridge + "/brif")) {
        const bool leadsOut = Exists(net + port + "/device") || Exists(net + port + "/bonding");
        if (leadsOut && IsDown(net, port)) {
            report.Find(Status::Warning,
                        "the port " + port + " of the bridge " + bridge + " is down");
        }
    }
}

void JudgeVlan(const std::string& net, const std::string& vlan, Report& report) {
    for (const std::string& entry : ListDirectory(net + vlan)) {
        if (entry.starts_with("lower_") && IsDown(net, entry.substr(6))) {
            report.Find(Status::Warning,
                        "the link " + entry.substr(6) + " below the VLAN " + vlan + " is down");
        }
    }
}

bool IsVlan(const std::string& net, const std::string& link) {
    return ReadWord(net + link + "/uevent").find("DEVTYPE=vlan") != std::string::npos;
}

}  // namespace

void CheckBonds(const std::string& root, Settings& settings, Report& report) {
    const Limits limits = settings.GetLimits("members_up", kMembersUp, Bad::Low);
    const std::vector<std::string> ignored = settings.GetList("ignore");
    settings.RefuseUnknown();

    const std::string net = root + "/sys/class/net/";
    int bonds = 0;
    int bridges = 0;
    int vlans = 0;
    for (const std::string& name : ListDirectory(net)) {
        if (MatchesAny(ignored, name)) {
            continue;
        }
        if (Exists(net + name + "/bonding")) {
            ++bonds;
            JudgeBond(net, name, limits, report);
        } else if (Exists(net + name + "/bridge")) {
            ++bridges;
            JudgeBridge(net, name, report);
        } else if (IsVlan(net, name)) {
            ++vlans;
            JudgeVlan(net, name, report);
        }
    }
    if (bonds + bridges + vlans == 0) {
        report.Find(Status::None, "this host has no bonds, bridges or VLANs");
    }
    report.Summarize("all links are up; bonds: " + std::to_string(bonds) +
                     ", bridges: " + std::to_string(bridges) + ", VLANs: " + std::to_string(vlans));
}

}  // namespace Checks
