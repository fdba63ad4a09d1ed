// The check of the network links on hosts of files.
#include "checks/network.h"

#include "checks/fixture_host.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Checks::CheckNetwork;
using SentrelCheck::Status;
using Test::ExpectOutcomes;
using Test::ExpectSurvivesDamage;
using Test::HostFiles;
using Test::With;

const std::string kNet = "/sys/class/net/";

enum class Kind { Physical, Bond, Bridge, EmptyBridge, VirtualFunction, Tap };

// A link that is set up and works.
HostFiles LinkOf(const std::string& name, Kind kind) {
    const std::string base = kNet + name + "/";
    HostFiles files = {{base + "flags", "0x1003\n"},
                       {base + "carrier", "1\n"},
                       {base + "statistics/rx_packets", "900000\n"},
                       {base + "statistics/tx_packets", "100000\n"},
                       {base + "statistics/rx_errors", "0\n"},
                       {base + "statistics/tx_errors", "0\n"},
                       {base + "statistics/rx_dropped", "5\n"},
                       {base + "statistics/tx_dropped", "0\n"}};
    if (kind == Kind::Physical || kind == Kind::VirtualFunction) {
        files[base + "device/vendor"] = "0x8086\n";
    }
    if (kind == Kind::VirtualFunction) {
        files[base + "device/physfn/vendor"] = "0x8086\n";
    } else if (kind == Kind::Bond) {
        files[base + "bonding/"] = "a directory";
    } else if (kind == Kind::Bridge) {
        files[base + "bridge/"] = files[base + "brif/eth0/"] = "a directory";
    } else if (kind == Kind::EmptyBridge) {
        files[base + "bridge/"] = files[base + "brif/"] = "a directory";
    }
    return files;
}

HostFiles operator+(HostFiles left, const HostFiles& right) { return With(std::move(left), right); }

const HostFiles kEth0 = LinkOf("eth0", Kind::Physical);
const HostFiles kEth1 = LinkOf("eth1", Kind::Physical);

TEST(CheckNetwork, JudgesCarrier) {
    const HostFiles noCarrier0 = {{kNet + "eth0/carrier", "0\n"}};
    const HostFiles noCarrier1 = {{kNet + "eth1/carrier", "0\n"}};
    const HostFiles bridge = LinkOf("br0", Kind::Bridge);
    ExpectOutcomes(CheckNetwork,
                   {
                       {"good", kEth0 + kEth1 + bridge, Status::Ok,
                        "3 of 3 links are up, each with a carrier"},
                       {"one is down", kEth0 + kEth1 + noCarrier1, Status::Warning,
                        "the link eth1 is up but has no carrier"},
                       {"all are down", kEth0 + kEth1 + noCarrier0 + noCarrier1, Status::Error,
                        "the link eth0 is up but has no carrier; the link eth1 is up but has no "
                        "carrier"},
                       {"only a bridge has one", kEth0 + noCarrier0 + bridge, Status::Error,
                        "the link eth0 is up but has no carrier"},
                       {"ignored", kEth0 + kEth1 + noCarrier1, Status::Ok,
                        "1 of 1 links are up, each with a carrier", R"({"ignore": ["*1"]})"},
                       {"set down by the administrator",
                        kEth0 + kEth1 + noCarrier1 + HostFiles{{kNet + "eth1/flags", "0x1002\n"}},
                        Status::Ok, "1 of 2 links are up, each with a carrier"},
                   });
}

TEST(CheckNetwork, JudgesErrorsAndDrops) {
    const auto with = [](const char* counter, const char* value) {
        return kEth0 + HostFiles{{kNet + "eth0/statistics/" + counter, value}};
    };
    const HostFiles idle = kEth0 + HostFiles{{kNet + "eth0/statistics/rx_packets", "10\n"},
                                             {kNet + "eth0/statistics/tx_packets", "0\n"},
                                             {kNet + "eth0/statistics/rx_errors", "1\n"}};
    ExpectOutcomes(CheckNetwork,
                   {
                       {"some errors", with("rx_errors", "101"), Status::Warning,
                        "damaged packets on eth0: 101 ppm is at or above 100 ppm"},
                       {"many errors", with("tx_errors", "1000000"), Status::Error,
                        "damaged packets on eth0: 500000 ppm is at or above 10000 ppm"},
                       {"drops", with("rx_dropped", "20000"), Status::Warning,
                        "dropped packets on eth0: 20000 ppm is at or above 10000 ppm"},
                       {"one error on an idle link", idle, Status::Ok,
                        "1 of 1 links are up, each with a carrier"},
                   });
}

TEST(CheckNetwork, LeavesOutLinksThatAreNotTheHosts) {
    HostFiles others = LinkOf("lo", Kind::Tap) + LinkOf("vnet0", Kind::Tap) +
                       LinkOf("eth0v0", Kind::VirtualFunction) +
                       LinkOf("virbr0", Kind::EmptyBridge);
    others[kNet + "bonding_masters"] = "bond0\n";  // a file, no link
    ExpectOutcomes(CheckNetwork,
                   {
                       {"others", others, Status::None, "this host has no network links"},
                       {"nothing", {}, Status::None, "this host has no network links"},
                       {"a bond", others + LinkOf("bond0", Kind::Bond), Status::Ok,
                        "1 of 1 links are up, each with a carrier"},
                   });
}

TEST(CheckNetwork, SurvivesDamagedFiles) {
    const std::string flags = kNet + "eth0/flags";
    ExpectSurvivesDamage(CheckNetwork, kEth0 + LinkOf("br0", Kind::Bridge),
                         {{{flags, ""}},
                          {{flags, "1003\n"}},
                          {{flags, "0x\n"}},
                          {{flags, "0xzz\n"}},
                          {{flags, "0x1003 3\n"}}});
}

}  // namespace
