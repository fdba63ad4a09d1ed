#include "checks/units.h"

#include "checks/host_files.h"
#include "checks/service_manager.h"

#include <vector>

namespace Checks {

namespace {

using SentrelCheck::Bad;
using SentrelCheck::Limits;
using SentrelCheck::Report;
using SentrelCheck::Settings;
using SentrelCheck::Status;

constexpr Limits kFailed{1, std::nullopt};

// The reason names at most this many; the member "failed" names all.
constexpr std::size_t kNamedUnits = 5;

std::string Join(const std::vector<std::string>& names, std::size_t most) {
    std::string joined;
    for (std::size_t i = 0; i < names.size() && i < most; ++i) {
        joined += (i == 0 ? "" : ", ") + names[i];
    }
    return names.size() > most ? joined + ", ..." : joined;
}

}  // namespace

void CheckUnits(const std::string& root, Settings& settings, Report& report) {
    const Limits limits = settings.GetLimits("failed", kFailed, Bad::High);
    const std::vector<std::string> ignored = settings.GetList("ignore");
    settings.RefuseUnknown();

    // The test of sd_booted(3).
    if (!Exists(root + "/run/systemd/system")) {
        report.Find(Status::None, "this host does not run systemd");
        return;
    }
    std::vector<std::string> failed;
    try {
        for (std::string& name : ListFailedServices(root)) {
            if (!SentrelCheck::MatchesAny(ignored, name)) {
                failed.push_back(std::move(name));
            }
        }
    } catch (const BusError& problem) {
        report.Find(Status::Unknown, std::string("cannot list failed services: ") + problem.what() +
                                         "; check that `systemctl --failed` works");
        return;
    }
    report.AddText("failed", Join(failed, failed.size()));
    report.Judge("failed services (" + Join(failed, kNamedUnits) + "):",
                 {"failed", static_cast<double>(failed.size()), "", limits}, Bad::High);
    report.Summarize(failed.empty() ? "no service has failed"
                                    : "failed services: " + Join(failed, kNamedUnits));
}

}  // namespace Checks
