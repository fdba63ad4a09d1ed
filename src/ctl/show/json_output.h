// JSON documents as the tool writes and reads them.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <exception>
#include <iosfwd>
#include <string>

namespace Ctl {

// In one line. Bytes that are not UTF-8 become U+FFFD; characters that are not fit to be shown are
// escaped.
void WriteJson(const nlohmann::ordered_json& document, std::ostream& output);

// How a command with --json fails: {"error": {"message", "advice", "code"}}, in one line; `code` is
// the exit status.
void WriteFailureJson(const std::exception& failure, int code, std::ostream& output);

// The text that member of an object has; empty when it has none, or `object` is none.
std::string TextOf(const nlohmann::ordered_json& object, const char* member);

}  // namespace Ctl
