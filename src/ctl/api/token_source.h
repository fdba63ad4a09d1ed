// Where the token of a call comes from.
#pragma once

#include <string>

namespace Ctl {

// That of `file`, as ReadTokenFrom reads it. Without a file, a token of one minute, signed here
// for this user with the privilege to read reports, when this user may read the signing key; else
// empty. Throws Failure when a file cannot be used.
std::string FindToken(const std::string& file);

// The token in a file, or in standard input for "-", without the blanks around it. Throws Failure
// when there is none.
std::string ReadTokenFrom(const std::string& path);

}  // namespace Ctl
