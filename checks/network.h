// Network links: whether those that are set up have a carrier, and how many packets are damaged or
// dropped. Counted are physical links, bonds and bridges; loopback, virtual functions and what
// belongs to guests are left out.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"

#include <string>

namespace Checks {

// Reads /sys/class/net below `root`.
void CheckNetwork(const std::string& root, SentrelCheck::Settings& settings,
                  SentrelCheck::Report& report);

}  // namespace Checks
