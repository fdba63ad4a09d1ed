#include "ctl/plugin_run/live_output.h"

#include "ctl/show/durations.h"
#include "ctl/show/printable.h"
#include "ctl/show/terminal.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace Ctl {

void LiveOutput::Take(Stream stream, std::string_view piece) {
    std::string& line = incomplete[stream];
    for (;;) {
        const std::size_t end = piece.find('\n');
        line += piece.substr(0, end);
        if (end == std::string_view::npos) {
            break;
        }
        ShowLine(stream, std::exchange(line, ""));
        piece.remove_prefix(end + 1);
    }
    output.flush();
}

void LiveOutput::ShowTime(std::chrono::seconds elapsed) {
    if (!TerminalWidth() || !ShowsColours()) {
        return;
    }
    EraseTime();
    output << Paint("running, " + DurationText(elapsed) + " of " + DurationText(timeout),
                    Colour::Faint)
           << std::flush;
    showsTime = true;
}

void LiveOutput::Finish() {
    for (const Stream stream : {Output, Error}) {
        if (!incomplete[stream].empty()) {
            ShowLine(stream, std::exchange(incomplete[stream], ""));
        }
    }
    EraseTime();
    output << (hasLines ? "\n" : "") << std::flush;
}

void LiveOutput::ShowLine(Stream stream, std::string line) {
    EraseTime();
    std::replace(line.begin(), line.end(), '\t', ' ');  // which is not printable otherwise
    output << (stream == Output ? "stdout  " : "stderr  ") << PrintableText(line) << '\n';
    hasLines = true;
}

void LiveOutput::EraseTime() {
    output << (showsTime ? "\r\x1b[K" : "");
    showsTime = false;
}

}  // namespace Ctl
