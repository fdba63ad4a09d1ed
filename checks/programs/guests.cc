// The plugin guests.
#include "checks/guests.h"

#include "sentrel_check/run.h"

#include <chrono>
#include <thread>

int main(int argc, char* argv[]) {
    return SentrelCheck::RunCheck(
        argc, argv, [](SentrelCheck::Settings& settings, SentrelCheck::Report& report) {
            const auto pause = [] { std::this_thread::sleep_for(std::chrono::seconds(1)); };
            Checks::CheckGuests("", pause, settings, report);
        });
}
