// The plugin kernel.
#include "checks/kernel.h"

#include "sentrel_check/run.h"

int main(int argc, char* argv[]) {
    return SentrelCheck::RunCheck(
        argc, argv, [](SentrelCheck::Settings& settings, SentrelCheck::Report& report) {
            Checks::CheckKernel("", Checks::ReadClockState, settings, report);
        });
}
