// The plugin filesystem.
#include "checks/filesystem.h"

#include "sentrel_check/run.h"

int main(int argc, char* argv[]) {
    return SentrelCheck::RunCheck(
        argc, argv, [](SentrelCheck::Settings& settings, SentrelCheck::Report& report) {
            Checks::CheckFileSystems("", Checks::ReadUsage, settings, report);
        });
}
