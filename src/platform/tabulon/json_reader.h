// Typed look-up in the two files of an entry, the host's merged over the vendor's as a JSON merge
// patch (RFC 7396).
#pragma once

#include "platform/pellmar/config.h"
#include "platform/pellmar/object.h"
#include "platform/tabulon/entry_files.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>

namespace Tabulon {

// Reads from `vendor` with `host` merged over it, both objects (empty for a file that is not
// there). A key's "/" separates levels: "a/b" is the member "b" of the object "a". A member that is
// null is a missing one. A value of another type than asked for counts as missing, which a level-3
// line of the logger "Tabulon" says with file, key, wanted and found type. Nothing is converted: a
// boolean is no number, a number written with a fraction or an exponent (3.0, 1e3) no integer, a
// text nothing but a text; an integer must fit 32 bits.
Pellmar::Ref<Pellmar::Service::ConfigReader> MakeJsonReader(const EntryPaths& paths,
                                                            const nlohmann::json& vendor,
                                                            const nlohmann::json& host);

}  // namespace Tabulon
