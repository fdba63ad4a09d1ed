// Where the token of a call comes from.
#pragma once

#include "ctl/command/command.h"

#include <string>

namespace Ctl {

// That of the file that --token-file names. Without the option, a token of a few minutes, signed
// here for this user with the privilege to read reports, when this user may read the signing key;
// else empty. Throws Failure when a file cannot be used.
std::string FindToken(const GivenOptions& options);

// The token in a file, or in standard input for "-", without the blanks around it. Throws Failure
// when there is none.
std::string ReadTokenFrom(const std::string& path);

}  // namespace Ctl
