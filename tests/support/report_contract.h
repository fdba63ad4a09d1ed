// What every report document must be like.
#pragma once

#include <string>
#include <string_view>

namespace Test {

// Empty when `document` is the report of `name` with a status code, a time in UTC with its zone, a
// reason in words, and metrics that are numbers or objects with a number "value"; else what is
// wrong with it.
std::string ContractFault(std::string_view document, std::string_view name);

// "structured"."status", and "unstructured"."reason". Throw when there is none.
int StatusOf(std::string_view document);
std::string ReasonOf(std::string_view document);

}  // namespace Test
