// The plugin cpu.
#include "checks/cpu.h"

#include "sentrel_check/run.h"

#include <ctime>

namespace {

// Long enough for some ticks of each processor, short enough for a check.
void Pause() {
    const std::timespec duration{0, 300000000};
    (void)::nanosleep(&duration, nullptr);  // a shorter pause measures too
}

}  // namespace

int main(int argc, char* argv[]) {
    return SentrelCheck::RunCheck(
        argc, argv, [](SentrelCheck::Settings& settings, SentrelCheck::Report& report) {
            Checks::CheckCpu("", Pause, settings, report);
        });
}
