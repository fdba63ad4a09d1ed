// The exception of a command that has no result. main prints its fields as one line.
#pragma once

#include "platform/pellmar/exceptions.h"

namespace Ctl {

// The exception of the tool's own code. The daemon's code throws others of the family.
class Failure : public Pellmar::Exception {
  public:
    using Exception::Exception;
};

}  // namespace Ctl
