// The plugin memory.
#include "checks/memory.h"

#include "sentrel_check/run.h"

int main(int argc, char* argv[]) {
    return SentrelCheck::RunCheck(
        argc, argv, [](SentrelCheck::Settings& settings, SentrelCheck::Report& report) {
            Checks::CheckMemory("", settings, report);
        });
}
