// "config set": changes one of this host's values and reports the effect.
#pragma once

#include "ctl/command/command.h"

#include <iosfwd>

namespace Ctl {

// A Command's `run`; the operands are "ENTRY.KEY [VALUE]", the options --unset, --discard-comments
// and --json.
void RunConfigSet(const Arguments& arguments, std::ostream& output);

}  // namespace Ctl
