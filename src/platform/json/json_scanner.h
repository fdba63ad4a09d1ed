// The grammar of JSON (RFC 8259) without building anything: finds the first fault of a text, the
// nesting bound included, and words it for a person. Sizes are bounded_json's.
#pragma once

#include "platform/json/bounded_json.h"
#include "platform/json/json_tokens.h"

#include <cstddef>
#include <optional>
#include <string_view>

namespace Json {

// The first fault of `text`, or nothing when the text is one JSON value nested at most kMaxDepth
// deep.
std::optional<Fault> FindFault(std::string_view text, Comments comments, Root root);

// The line and the column of a fault that was found in `text`.
JsonError Locate(std::string_view text, Fault fault);

// Where `text`, which is JSON without comments up to there, opens a container inside kMaxDepth
// others; for callers that leave all other faults to the library. A NUL byte counts as the end of
// the text, as it does between the library's tokens. Nearly free for a text with few containers.
std::optional<std::size_t> FindExcessDepth(std::string_view text);

}  // namespace Json
