// The exception of a command that has no result. main prints its fields as one line.
#pragma once

#include "platform/pellmar/exceptions.h"

#include <cerrno>

#include <unistd.h>

namespace Ctl {

// The exception of the tool's own code. The daemon's code throws others of the family.
class Failure : public Pellmar::Exception {
  public:
    using Exception::Exception;
};

// Whether the system denied an access that root would have.
inline bool IsDeniedToThisUser(const Pellmar::Throwable& failure) {
    return failure.ErrorNumber() == EACCES && ::geteuid() != 0;
}

}  // namespace Ctl
