// Finds the token of a call.
#pragma once

#include <string>

namespace Ctl {

// The token in `file`, as ReadTokenFrom reads it. If `file` is empty: a token signed here for this
// user, valid for one minute, with the privilege to read reports, if this user may read the signing
// key; else empty. Throws Failure if a file cannot be used.
std::string FindToken(const std::string& file);

// The token in a file, or on standard input for "-", without surrounding blanks. Throws Failure if
// it contains no token.
std::string ReadTokenFrom(const std::string& path);

}  // namespace Ctl
