// Finds the first fault in a JSON text (RFC 8259) without building anything, including excess
// nesting, and describes it to a person. bounded_json checks the size.
#pragma once

#include "platform/json/bounded_json.h"
#include "platform/json/json_tokens.h"

#include <cstddef>
#include <optional>
#include <string_view>

namespace Json {

// The first fault of `text`; nothing when the text is one JSON value with at most kMaxDepth levels.
std::optional<Fault> FindFault(std::string_view text, Comments comments, Root root);

// The line and column of a fault found in `text`.
JsonError Locate(std::string_view text, Fault fault);

// The offset at which `text`, valid JSON without comments up to there, opens a container inside
// kMaxDepth others; for callers that leave all other faults to the library. A NUL byte ends the
// text, as it does between the library's tokens. Takes almost no time for a text with few
// containers.
std::optional<std::size_t> FindExcessDepth(std::string_view text);

}  // namespace Json
