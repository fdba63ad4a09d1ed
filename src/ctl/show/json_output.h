// Writes and reads the tool's JSON documents.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <exception>
#include <iosfwd>
#include <string>

namespace Ctl {

// The document in one line. Bytes that are not UTF-8 become U+FFFD; characters that are unsafe on a
// terminal are escaped.
std::string JsonText(const nlohmann::ordered_json& document);

// Writes that text and a newline.
void WriteJson(const nlohmann::ordered_json& document, std::ostream& output);

// Writes the failure of a command with --json: {"error": {"message", "advice", "code"}}, in one
// line; `code` is the exit status.
void WriteFailureJson(const std::exception& failure, int code, std::ostream& output);

// The text of a member; empty if it is missing, is not a text, or `object` is not an object.
std::string TextOf(const nlohmann::ordered_json& object, const char* member);

}  // namespace Ctl
