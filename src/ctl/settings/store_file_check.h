// The files of the configuration store as files: whose they are, who may write them, and which ones
// nobody reads. What is in them is config_check's business.
#pragma once

#include "ctl/settings/catalog.h"
#include "ctl/show/finding.h"

#include <vector>

namespace Ctl {

// Adds what is wrong. Only looks.
void CheckStoreFiles(const Catalogue& catalogue, std::vector<Finding>& findings);

}  // namespace Ctl
