#include "checks/network.h"

#include "checks/host_files.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

namespace Checks {

namespace {

using SentrelCheck::Bad;
using SentrelCheck::Limits;
using SentrelCheck::Report;
using SentrelCheck::Settings;
using SentrelCheck::Status;

// In packets per million.
constexpr Limits kErrors{100, 10000};
constexpr Limits kDrops{10000, 100000};

// Ratios of fewer packets are meaningless, so at least this many are assumed.
constexpr double kLeastPackets = 100000;
constexpr double kMillion = 1e6;
// IFF_UP of <net/if.h>.
constexpr unsigned kIsUpFlag = 1;

struct Link {
    std::string name;
    std::string directory;
    bool isBridge = false;
};

// Physical links, bonds and bridges with ports (a bridge without ports never has a carrier).
std::vector<Link> ListLinks(const std::string& classDirectory,
                            const std::vector<std::string>& ignored) {
    std::vector<Link> links;
    for (const std::string& name : ListDirectory(classDirectory)) {
        Link link{name, std::string(classDirectory).append("/").append(name)};
        link.isBridge = Exists(link.directory + "/bridge");
        const bool isBond = Exists(link.directory + "/bonding");
        const bool isPhysical =
            Exists(link.directory + "/device") && !Exists(link.directory + "/device/physfn");
        const bool isWanted =
            link.isBridge ? !ListDirectory(link.directory + "/brif").empty() : isBond || isPhysical;
        if (isWanted && !SentrelCheck::MatchesAny(ignored, name)) {
            links.push_back(link);
        }
    }
    return links;
}

// Reads flags such as "0x1003"; malformed ones count as not up and add a finding.
bool IsSetUp(const Link& link, Report& report) {
    const std::string path = link.directory + "/flags";
    const std::string text = ReadSmallFile(path).value_or("");
    unsigned flags = 0;
    const char* end = text.data() + text.size();
    if (text.substr(0, 2) == "0x") {
        const auto [rest, problem] = std::from_chars(text.data() + 2, end, flags, 16);
        if (problem == std::errc() && rest == end) {
            return (flags & kIsUpFlag) != 0;
        }
    }
    FindGarbled(path, report);
    return false;
}

double PartsPerMillion(std::uint64_t part, std::uint64_t whole) {
    return std::round(static_cast<double>(part) * kMillion /
                      std::max(static_cast<double>(whole), kLeastPackets));
}

void JudgeTraffic(const Link& link, const Limits& errorLimits, const Limits& dropLimits,
                  Report& report) {
    const auto sum = [&link, &report](const char* received, const char* sent) {
        const std::string directory = link.directory + "/statistics/";
        return ReadNumber(directory + received, report).value_or(0) +
               ReadNumber(directory + sent, report).value_or(0);
    };
    const std::uint64_t errors = sum("rx_errors", "tx_errors");
    const std::uint64_t drops = sum("rx_dropped", "tx_dropped");
    const std::uint64_t packets = sum("rx_packets", "tx_packets") + errors;
    report.Judge("damaged packets on " + link.name + ":",
                 {"errors:" + link.name, PartsPerMillion(errors, packets), "ppm", errorLimits},
                 Bad::High);
    report.Judge("dropped packets on " + link.name + ":",
                 {"drops:" + link.name, PartsPerMillion(drops, packets), "ppm", dropLimits},
                 Bad::High);
}

}  // namespace

void CheckNetwork(const std::string& root, Settings& settings, Report& report) {
    const Limits errors = settings.GetLimits("errors", kErrors, Bad::High);
    const Limits drops = settings.GetLimits("drops", kDrops, Bad::High);
    const std::vector<std::string> ignored = settings.GetList("ignore");
    settings.RefuseUnknown();

    const std::vector<Link> links = ListLinks(root + "/sys/class/net", ignored);
    std::vector<std::string> withoutCarrier;
    int setUpCount = 0;
    bool reachesNetwork = false;
    for (const Link& link : links) {
        if (!IsSetUp(link, report)) {
            continue;
        }
        ++setUpCount;
        const bool hasCarrier = ReadNumber(link.directory + "/carrier", report).value_or(0) != 0;
        report.AddMetric({"carrier:" + link.name, hasCarrier ? 1.0 : 0.0, ""});
        if (!hasCarrier) {
            withoutCarrier.push_back(link.name);
        }
        if (!link.isBridge) {
            JudgeTraffic(link, errors, drops, report);
            reachesNetwork = reachesNetwork || hasCarrier;
        }
    }
    for (const std::string& name : withoutCarrier) {
        report.Find(reachesNetwork ? Status::Warning : Status::Error,
                    "the link " + name + " is up but has no carrier");
    }
    report.Summarize(std::to_string(setUpCount) + " of " + std::to_string(links.size()) +
                     " links are up, each with a carrier");
    if (links.empty()) {
        report.Find(Status::None, "this host has no network links");
    }
}

}  // namespace Checks
