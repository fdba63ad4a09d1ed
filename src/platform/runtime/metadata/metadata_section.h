// Metadata as it is kept for the services that tell of it: finished answers, found by identifier,
// and fingerprints. What the services make of them is metadata_queries.h's.
#pragma once

#include "platform/runtime/values/data_value.h"
#include "platform/runtime/values/localizer.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace Quon::MetadataModel {

// 64-bit FNV-1a of the compact JSON of values, as 16 hexadecimal digits. It tells versions of
// metadata apart, for which a collision (one in 2^64 for two versions) is no concern; it does not
// withstand somebody who looks for one.
class Fingerprint {
  public:
    void Add(const Data::DataValue& value);
    std::string ToString() const;

  private:
    std::uint64_t state = 0xcbf29ce484222325;
};

// Immutable once it is shared.
struct Collection {
    std::map<std::string, Data::DataValue, std::less<>> entries;  // structures by identifier
    std::string fingerprint;  // of "components": that of all collections together
};
using Section = std::map<std::string, std::shared_ptr<const Collection>, std::less<>>;

// A collection for each field of `structure`, which is ToData of one of the sections of
// metadata_model.h. Nothing, with `problem` set, when two structures of a list have the same "id".
std::optional<Section> MakeSection(const Data::StructureValue& structure,
                                   L10n::LocalizableMessage& problem);

// The text field of that name; the structure has it.
const std::string& TextField(const Data::StructureValue& structure, const char* field);

}  // namespace Quon::MetadataModel
