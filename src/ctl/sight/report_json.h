// Reports as JSON, for programs.
#pragma once

#include "ctl/reports/state.h"

#include <nlohmann/json_fwd.hpp>

namespace Ctl {

// {"until", "because"}.
nlohmann::ordered_json SilenceJson(const Silence& silence);

// The members that the API gives, and what was judged; "unstructured" is JSON text.
nlohmann::ordered_json ToJson(const JudgedReport& report);

// The same with "unstructured" as the value that it is.
nlohmann::ordered_json ToDecodedJson(const JudgedReport& report);

}  // namespace Ctl
