// Checks the files of the configuration store as files: their owners, their permissions, and files
// that are never read. settings/check.h checks their contents.
#pragma once

#include "ctl/settings/catalog.h"
#include "ctl/show/finding.h"

#include <vector>

namespace Ctl {

// Adds a finding for each problem. Changes nothing.
void CheckStoreFiles(const Catalogue& catalogue, std::vector<Finding>& findings);

}  // namespace Ctl
