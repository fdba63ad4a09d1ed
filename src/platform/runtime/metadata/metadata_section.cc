#include "platform/runtime/metadata/metadata_section.h"

#include "platform/runtime/json/json_writer.h"

#include <cstddef>
#include <cstdio>
#include <utility>

namespace Quon::MetadataModel {

namespace {

std::optional<Collection> MakeCollection(const Data::FieldValue& list,
                                         L10n::LocalizableMessage& problem) {
    Collection collection;
    for (const Data::DataValue& entry : *list.value.AsList()) {
        const std::string& id = TextField(*entry.AsStructure(), "id");
        if (!collection.entries.emplace(id, entry).second) {
            problem = L10n::MakeMessage("quon.metadata.repeated.id", {list.name, id});
            return std::nullopt;
        }
    }
    Fingerprint fingerprint;
    for (const auto& [id, entry] : collection.entries) {
        fingerprint.Add(entry);
    }
    collection.fingerprint = fingerprint.ToString();
    return collection;
}

}  // namespace

void Fingerprint::Add(const Data::DataValue& value) {
    constexpr std::uint64_t kPrime = 0x100000001b3;
    constexpr std::size_t kPieceBytes = 4096;
    Protocol::Json::ValueWriter writer(value);
    std::string piece;
    for (bool isMore = true; isMore; piece.clear()) {
        isMore = writer.Next(piece, kPieceBytes);
        for (const char byte : piece) {
            state = (state ^ static_cast<unsigned char>(byte)) * kPrime;
        }
    }
}

std::string Fingerprint::ToString() const {
    char digits[17];
    (void)std::snprintf(digits, sizeof digits, "%016llx",  // always 16 digits
                        static_cast<unsigned long long>(state));
    return digits;
}

std::optional<Section> MakeSection(const Data::StructureValue& structure,
                                   L10n::LocalizableMessage& problem) {
    std::map<std::string, Collection> collections;
    Fingerprint whole;
    for (const Data::FieldValue& list : structure.Fields()) {
        std::optional<Collection> collection = MakeCollection(list, problem);
        if (!collection) {
            return std::nullopt;
        }
        whole.Add(Data::DataValue(collection->fingerprint));
        collections.emplace(list.name, std::move(*collection));
    }
    if (const auto components = collections.find("components"); components != collections.end()) {
        components->second.fingerprint = whole.ToString();
    }
    Section section;
    for (auto& [name, collection] : collections) {
        section.emplace(name, std::make_shared<const Collection>(std::move(collection)));
    }
    return section;
}

const std::string& TextField(const Data::StructureValue& structure, const char* field) {
    return *structure.Find(field)->As<std::string>();
}

}  // namespace Quon::MetadataModel
