#include "ctl/reports/forget_command.h"

#include "ctl/host/host.h"
#include "ctl/reports/forget.h"
#include "ctl/show/failure.h"
#include "ctl/show/json_output.h"
#include "ctl/show/near_names.h"
#include "ctl/show/words.h"
#include "store/report_name.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include <unistd.h>

namespace Ctl {

namespace {

constexpr std::array<Option, 2> kOptions = {{kJsonOption, kReportsOption}};

std::string RequireWritableDirectory(const Host& host) {
    std::string directory = RequireReportDirectory(host);
    if (::access(directory.c_str(), W_OK) != 0) {
        throw Failure("cannot write " + directory, errno, "run this as root or the daemon's user");
    }
    return directory;
}

// The name as its files have it: `name` itself, else the one that differs in case.
std::string FindStoredName(const std::string& directory, const std::string& name) {
    std::vector<std::string> known;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        const std::string file = entry.path().filename();
        const auto stored = Sentrel::NameOfStoredFile(file);
        const auto own = entry.is_symlink() ? Sentrel::NameOfLink(file) : stored;
        if (own && std::find(known.begin(), known.end(), *own) == known.end()) {
            known.emplace_back(*own);
        }
    }
    std::vector<std::string> same;
    std::copy_if(known.begin(), known.end(), std::back_inserter(same),
                 [&name](const auto& other) { return Sentrel::IsSameReportName(name, other); });
    if (std::find(same.begin(), same.end(), name) != same.end()) {
        return name;
    }
    if (same.size() != 1) {
        throw Failure("no report named \"" + name + "\" in " + directory,
                      same.empty() ? NearNamesAdvice(name, known, "see \"sentrelctl list\"")
                                   : "write it as it is stored: " + Enumerated(same, "or"));
    }
    return same.front();
}

void RunForget(const Arguments& arguments, std::ostream& output) {
    const std::string directory = RequireWritableDirectory(HostOf(arguments.options));
    const std::string name = FindStoredName(directory, arguments.operands.front());
    if (!Sentrel::IsReportName(name)) {
        throw Failure("\"" + name + "\" is not a report name of the daemon",
                      "remove its files by hand");
    }
    const Forgotten forgotten = Forget(directory, name);
    if (arguments.options.Has("--json")) {
        WriteJson({{"name", name}, {"removed", forgotten.removed}, {"kept", forgotten.kept}},
                  output);
        return;
    }
    output << "Removed " << Counted(forgotten.removed.size(), "file") << " of " << name << '\n';
    if (!forgotten.kept.empty()) {
        output << "Kept " << Enumerated(forgotten.kept) << ", of a report that is arriving\n";
    }
}

constexpr std::array<Command, 1> kCommands = {{
    {"forget",
     "remove the stored reports of a name",
     "Removes the link and the stored reports of a name. The daemon may keep running; it\n"
     "continues with the next number when the name is posted again. A report that arrives\n"
     "meanwhile is kept. Root and the daemon's user may do this.\n",
     "sentrelctl forget raid",
     kOptions,
     {"NAME", 1, 1, Completes::ReportName},
     RunForget},
}};

}  // namespace

std::span<const Command> ForgetCommands() { return kCommands; }

}  // namespace Ctl
