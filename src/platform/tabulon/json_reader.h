// Typed look-up in an entry: the host's file merged over the vendor's as a JSON merge patch (RFC
// 7396).
#pragma once

#include "platform/pellmar/config.h"
#include "platform/pellmar/object.h"
#include "platform/tabulon/entry_files.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>

namespace Tabulon {

// Reads from `vendor` with `host` merged over it, both objects (empty for a missing file). "/"
// separates the levels of a key: "a/b" is the member "b" of the object "a". A null member is
// missing. A value of another type than asked for counts as missing, and the logger "Tabulon" logs
// file, key, wanted and found type at level 3. Nothing is converted: a boolean is not a number, a
// number with a fraction or exponent (3.0, 1e3) is not an integer, and only a text is a text; an
// integer must fit 32 bits.
Pellmar::Ref<Pellmar::Service::ConfigReader> MakeJsonReader(const EntryPaths& paths,
                                                            const nlohmann::json& vendor,
                                                            const nlohmann::json& host);

}  // namespace Tabulon
