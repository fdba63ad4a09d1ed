#include "ctl/watch/command.h"

#include "ctl/command/command_line.h"
#include "ctl/show/durations.h"
#include "ctl/show/failure.h"
#include "ctl/show/note.h"
#include "ctl/watch/live_screen.h"
#include "ctl/watch/stream.h"

#include <array>
#include <ostream>

#include <unistd.h>

namespace Ctl {

namespace {

constexpr std::array<Option, 7> kOptions = {{
    {"--json", "", "print a line of JSON for each report, then one for each change"},
    {"--until", "STATE", "wait until all reports named, or all, are in this state",
     Completes::State},
    {"--timeout", "T", "with --until: give up after this time, such as 30s or 5m"},
    kOfflineOption,
    kReportsOption,
    kApiOption,
    kTokenFileOption,
}};

StreamOptions StreamOptionsOf(const Arguments& arguments) {
    const GivenOptions& options = arguments.options;
    StreamOptions stream{
        .asJson = options.Has("--json"), .until = {}, .timeout = {}, .names = arguments.operands};
    if (options.Has("--until")) {
        stream.until = RequireState("--until", options.Value("--until"));
    }
    if (options.Has("--timeout")) {
        const std::string text = options.Value("--timeout");
        stream.timeout = ParseLifetime(text);
        if (!stream.timeout) {
            throw UsageError("invalid duration \"" + text + "\" for --timeout",
                             "use, for example, 30s or 5m");
        }
        if (!stream.until) {
            throw UsageError("option \"--timeout\" needs --until");
        }
    }
    return stream;
}

void RunWatch(const Arguments& arguments, std::ostream& output) {
    const StreamOptions options = StreamOptionsOf(arguments);
    const bool isStream = options.asJson || options.until;
    if (!isStream && (::isatty(STDOUT_FILENO) != 1 || ::isatty(STDIN_FILENO) != 1)) {
        throw Failure("standard input and output are not a terminal",
                      "use --json for one line per change");
    }
    HostWatch watch(HostOf(arguments.options), arguments.operands);
    if (isStream) {
        Stream(watch, options, output);
    } else {
        SilenceNotes();  // they would stand in the middle of the screen
        ShowLive(watch);
    }
}

constexpr std::array<Command, 1> kCommands = {{
    {"watch",
     "show reports as they change",
     "Shows all reports, or those named, on a screen that follows what changes: states, ages, the\n"
     "trend of each report's first metric, and the next launches. \"?\" shows the keys.\n\n"
     "--json prints one line for each report and then one for each change, with the members\n"
     "\"event\" (initial, new, changed, renewed, removed), \"name\", \"before\" and \"state\", "
     "\"time\"\n"
     "and \"reason\"; when the daemon stops or starts, \"event\" is \"daemon\" and \"running\" "
     "is\n"
     "false or true. --until waits for a state; it exits with 0 when all reports are in it, and "
     "with 1\n"
     "after the time of --timeout.\n",
     "sentrelctl watch --until OK --timeout 5m",
     kOptions,
     {"[NAME...]", 0, 1000000, Completes::ReportName, Completes::ReportName},
     RunWatch},
}};

}  // namespace

std::span<const Command> WatchCommands() { return kCommands; }

}  // namespace Ctl
