#include "platform/runtime/metadata/metadata_file.h"

#include "platform/json/bounded_json.h"
#include "platform/runtime/json/value_reader.h"

#include <nlohmann/json.hpp>

namespace Quon::MetadataModel {

namespace {

std::string Describe(const Json::JsonError& error) {
    if (error.line == 0) {
        return error.Text();
    }
    return error.Text() + " (line " + std::to_string(error.line) + ", column " +
           std::to_string(error.column) + ")";
}

}  // namespace

std::optional<Data::DataValue> ReadDocument(std::istream& file, L10n::LocalizableMessage& problem) {
    std::string text(kMaxFileBytes + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    if (text.size() > kMaxFileBytes) {
        problem = L10n::MakeMessage("quon.metadata.too.long", {std::to_string(kMaxFileBytes)});
        return std::nullopt;
    }
    if (!file.eof() || file.bad()) {
        problem = L10n::MakeMessage("quon.metadata.unreadable");
        return std::nullopt;
    }
    const Json::ParseOptions options{.maxBytes = kMaxFileBytes,
                                     .comments = Json::Comments::Refused,
                                     .root = Json::Root::Object,
                                     .equalNames = Json::EqualNames::Refused};
    nlohmann::json judged;
    Json::JsonError error;
    if (!Json::Parse(text, options, judged, error)) {
        problem = L10n::MakeMessage("quon.metadata.not.json", {Describe(error)});
        return std::nullopt;
    }
    return Protocol::Json::ReadValue(text);
}

}  // namespace Quon::MetadataModel
