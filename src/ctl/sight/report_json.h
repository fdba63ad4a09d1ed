// Converts reports to JSON.
#pragma once

#include "ctl/reports/state.h"

#include <nlohmann/json_fwd.hpp>

namespace Ctl {

// {"until", "because"}.
nlohmann::ordered_json SilenceJson(const Silence& silence);

// The API's members and the judged state; "unstructured" is JSON text.
nlohmann::ordered_json ToJson(const JudgedReport& report);

// Like ToJson, with "unstructured" as a JSON value.
nlohmann::ordered_json ToDecodedJson(const JudgedReport& report);

}  // namespace Ctl
