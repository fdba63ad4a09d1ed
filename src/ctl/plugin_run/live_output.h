// Shows a run to a person while it lasts: the plugin's output line by line and, on a terminal, the
// elapsed time.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>

namespace Ctl {

class LiveOutput {
  public:
    enum Stream : std::size_t { Output, Error };

    // `output` outlives this; `timeout` is when the plugin is sent SIGTERM.
    LiveOutput(std::ostream& output, std::chrono::seconds timeout)
        : output(output), timeout(timeout) {}

    // Takes a piece of the plugin's output; shows an incomplete last line once it is complete.
    void Take(Stream stream, std::string_view piece);
    // Shows the elapsed time. Call it about once a second.
    void ShowTime(std::chrono::seconds elapsed);
    // Shows incomplete lines, then an empty line if anything was shown.
    void Finish();

  private:
    void ShowLine(Stream stream, std::string line);
    void EraseTime();

    std::ostream& output;
    const std::chrono::seconds timeout;
    std::array<std::string, 2> incomplete;
    bool hasLines = false;
    bool showsTime = false;
};

}  // namespace Ctl
