// The plugin memory-errors.
#include "checks/memory_errors.h"

#include "sentrel_check/run.h"

#include <ctime>

int main(int argc, char* argv[]) {
    return SentrelCheck::RunCheck(
        argc, argv, [](SentrelCheck::Settings& settings, SentrelCheck::Report& report) {
            Checks::CheckMemoryErrors("", "/tmp/sentrel-memory-errors", std::time(nullptr),
                                      settings, report);
        });
}
