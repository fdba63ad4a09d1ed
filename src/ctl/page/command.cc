#include "ctl/page/command.h"

#include "ctl/page/page.h"
#include "ctl/show/failure.h"
#include "ctl/sight/daemon_text.h"
#include "platform/sys/atomic_file.h"

#include <array>
#include <ostream>
#include <system_error>

namespace Ctl {

namespace {

constexpr mode_t kPageMode = 0644;

constexpr std::array<Option, 4> kOptions = {
    {kOfflineOption, kReportsOption, kApiOption, kTokenFileOption}};

void RunPage(const Arguments& arguments, std::ostream& output) {
    const Host host = HostInView(arguments.options);
    HostView view = ViewReports(host, {});
    AddStoredReports(host, view);
    AddFindings(host, view);
    const std::string& file = arguments.operands.front();
    const std::string page = PageHtml(
        view, {HostName(), SENTREL_VERSION, DaemonText(host), "sentrelctl page " + file, ""});
    if (file == "-") {
        output << page;
        return;
    }
    try {
        Sys::ReplaceFile(file, page, kPageMode);
    } catch (const std::system_error& error) {
        throw Failure(error.what(), "name a file in a directory that this user may write");
    }
    output << "Wrote " << file << ": " << SummaryText(view.reports) << ".\n";
}

constexpr std::array<Command, 1> kCommands = {{
    {"page",
     "write the reports into one HTML file",
     "Writes a page with all reports, their metrics and stored reports, the launches of the next\n"
     "hour and what \"doctor\" finds. The file is self-contained and needs no network.\n"
     "\"-\" writes to standard output.\n",
     "sentrelctl page host.html",
     kOptions,
     {"FILE|-", 1, 1, Completes::File},
     RunPage},
}};

}  // namespace

std::span<const Command> PageCommands() { return kCommands; }

}  // namespace Ctl
