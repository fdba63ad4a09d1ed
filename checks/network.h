// Network links: whether each link that is up has a carrier, and how many packets are damaged or
// dropped. Examines physical links, bonds and bridges; leaves out loopback, virtual functions and
// the interfaces of guests.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"

#include <string>

namespace Checks {

// Reads /sys/class/net below `root`.
void CheckNetwork(const std::string& root, SentrelCheck::Settings& settings,
                  SentrelCheck::Report& report);

}  // namespace Checks
