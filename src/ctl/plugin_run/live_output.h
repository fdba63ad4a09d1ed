// What a person sees of a run while it lasts: what the plugin writes, line by line, and on a
// terminal how far it is.
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

    // `output` outlives this; `timeout` is when the run is asked to end.
    LiveOutput(std::ostream& output, std::chrono::seconds timeout)
        : output(output), timeout(timeout) {}

    // A piece of what the plugin wrote; its last line is shown when it is complete.
    void Take(Stream stream, std::string_view piece);
    // To be called about once a second.
    void ShowTime(std::chrono::seconds elapsed);
    // Shows incomplete lines and parts from what follows.
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
