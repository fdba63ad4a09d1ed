// The metadata in the form that its services return: finished values, found by identifier, and
// fingerprints. metadata_queries.h creates the services.
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

// 64-bit FNV-1a of the compact JSON of values, as 16 hexadecimal digits. It distinguishes versions
// of metadata, for which accidental collisions (one in 2^64 for two versions) do not matter; it
// does not resist deliberate ones.
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
    std::string fingerprint;  // for "components": of all collections together
};
using Section = std::map<std::string, std::shared_ptr<const Collection>, std::less<>>;

// Creates a collection for each field of `structure`, a section of metadata_model.h converted by
// ToData. Returns nothing and sets `problem` if two structures of a list have the same "id".
std::optional<Section> MakeSection(const Data::StructureValue& structure,
                                   L10n::LocalizableMessage& problem);

// The text field of that name, which the structure must have.
const std::string& TextField(const Data::StructureValue& structure, const char* field);

}  // namespace Quon::MetadataModel
