// The check of bonds, bridges and VLANs on hosts of files.
#include "checks/bonds.h"

#include "checks/fixture_host.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Checks::CheckBonds;
using SentrelCheck::Status;
using Test::ExpectOutcomes;
using Test::ExpectSurvivesDamage;
using Test::HostFiles;
using Test::With;

const std::string kNet = "/sys/class/net/";

// bond0 of two links, on which br0 and the VLAN 7 stand; tap0 belongs to a guest.
const HostFiles kHost = {{kNet + "bond0/bonding/slaves", "eth0 eth1\n"},
                         {kNet + "bond0/operstate", "up\n"},
                         {kNet + "eth0/device/vendor", "0x8086\n"},
                         {kNet + "eth0/bonding_slave/mii_status", "up\n"},
                         {kNet + "eth1/bonding_slave/mii_status", "up\n"},
                         {kNet + "br0/bridge/bridge_id", "8000\n"},
                         {kNet + "br0/brif/bond0/state", "3\n"},
                         {kNet + "br0/brif/tap0/state", "0\n"},
                         {kNet + "tap0/operstate", "down\n"},
                         {kNet + "bond0.7/uevent", "DEVTYPE=vlan\nINTERFACE=bond0.7\n"},
                         {kNet + "bond0.7/lower_bond0/operstate", "up\n"}};

HostFiles Host(const HostFiles& changes) { return With(kHost, changes); }

TEST(CheckBonds, JudgesTheLinksBelow) {
    const HostFiles down0 = {{kNet + "eth0/bonding_slave/mii_status", "down\n"}};
    const HostFiles down1 = {{kNet + "eth1/bonding_slave/mii_status", "down\n"}};
    ExpectOutcomes(
        CheckBonds,
        {
            {"good", kHost, Status::Ok, "all links are up; bonds: 1, bridges: 1, VLANs: 1"},
            {"none",
             {{kNet + "eth0/operstate", "up\n"}},
             Status::None,
             "this host has no bonds, bridges or VLANs"},
            {"one left", Host(down1), Status::Warning,
             "members up in the bond bond0: 1 is below 2; down in the bond bond0: eth1"},
            {"none left", Host(With(down0, down1)), Status::Error,
             "members up in the bond bond0: 0 is below 1; down in the bond bond0: eth0, eth1"},
            {"it never had two", Host({{kNet + "bond0/bonding/slaves", "eth0\n"}}), Status::Ok,
             "all links are up; bonds: 1, bridges: 1, VLANs: 1"},
            {"no members", Host({{kNet + "bond0/bonding/slaves", "\n"}}), Status::Error,
             "the bond bond0 has no members"},
            {"below a bridge and a VLAN", Host({{kNet + "bond0/operstate", "down\n"}}),
             Status::Warning,
             "the link bond0 below the VLAN bond0.7 is down; the port bond0 of the bridge br0 is "
             "down"},
            {"ignored", Host(down1), Status::Ok, "all links are up; bonds: 0, bridges: 1, VLANs: 1",
             R"({"ignore": ["bond0"]})"},
        });
}

TEST(CheckBonds, SurvivesDamage) { ExpectSurvivesDamage(CheckBonds, kHost); }

}  // namespace
