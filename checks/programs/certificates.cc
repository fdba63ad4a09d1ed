// The plugin certificates.
#include "checks/certificates.h"

#include "sentrel_check/run.h"

#include <ctime>

int main(int argc, char* argv[]) {
    return SentrelCheck::RunCheck(
        argc, argv, [](SentrelCheck::Settings& settings, SentrelCheck::Report& report) {
            Checks::CheckCertificates("", std::time(nullptr), settings, report);
        });
}
