// Why a command has no result, as fields: main prints them as one line.
#pragma once

#include "platform/pellmar/exceptions.h"

namespace Ctl {

// What the tool itself throws. The daemon's code throws other exceptions of the family.
class Failure : public Pellmar::Exception {
  public:
    using Exception::Exception;
};

}  // namespace Ctl
