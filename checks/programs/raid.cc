// The plugin raid.
#include "checks/raid.h"

#include "sentrel_check/run.h"

int main(int argc, char* argv[]) {
    return SentrelCheck::RunCheck(
        argc, argv, [](SentrelCheck::Settings& settings, SentrelCheck::Report& report) {
            Checks::CheckRaid("", settings, report);
        });
}
