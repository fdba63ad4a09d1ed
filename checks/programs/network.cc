// The plugin network.
#include "checks/network.h"

#include "sentrel_check/run.h"

int main(int argc, char* argv[]) {
    return SentrelCheck::RunCheck(
        argc, argv, [](SentrelCheck::Settings& settings, SentrelCheck::Report& report) {
            Checks::CheckNetwork("", settings, report);
        });
}
