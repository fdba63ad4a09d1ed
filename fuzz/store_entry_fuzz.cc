// Reads two texts, separated by the first NUL byte, as the vendor's and the host's file of a store
// entry, and aborts when a guarantee is violated: our scanner and the library agree on what is
// JSON, errors have a position within the text and take one line, and every key can be read as
// every type.
#include "checking.h"
#include "platform/json/bounded_json.h"
#include "platform/pellmar/exceptions.h"
#include "platform/pellmar/log/logger.h"
#include "platform/tabulon/entry_files.h"
#include "platform/tabulon/json_reader.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

namespace {

using nlohmann::json;

void CheckError(const Json::JsonError& error, std::string_view text) {
    Check(error.line >= 1 && error.column >= 1 && !error.reason.empty());
    Check(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1 >= error.line);
    Check(text.size() + 1 >= error.column);
    const auto isControl = [](char byte) { return (byte >= 0 && byte < 0x20) || byte == 0x7F; };
    Check(std::none_of(error.reason.begin(), error.reason.end(), isControl));
}

void CompareWithLibrary(std::string_view text, Json::Comments comments) {
    json document;
    Json::JsonError error;
    const Json::ParseOptions options{text.size(), comments};
    const bool isAccepted = Json::Parse(text, options, document, error);
    const bool isOfLibrary = json::accept(text, comments == Json::Comments::Allowed);
    if (isAccepted) {
        Check(isOfLibrary);
        (void)document.dump();  // throws for a text that is not UTF-8
        return;
    }
    CheckError(error, text);
    const bool isStricter = error.reason.find("NUL byte") != std::string::npos ||
                            error.reason.find("nested deeper") != std::string::npos;
    Check(!isOfLibrary || isStricter);
}

json ParseOrEmpty(const std::string& path, std::string_view text) {
    try {
        return Tabulon::ParseEntryText(path, text);
    } catch (const Pellmar::Exception& error) {
        Check(std::string_view(error.what()).substr(0, path.size() + 1) == path + ":");
        return json::object();
    }
}

// Reads each member of `values` by its key, two levels deep.
void ReadAll(const Pellmar::Service::ConfigReader& reader, const json& values,
             const std::string& prefix, int levels) {
    for (const auto& member : values.items()) {
        const std::string key = prefix + member.key();
        std::int32_t number = 0;
        bool flag = false;
        std::string text;
        const int found = static_cast<int>(reader.GetInt(key, number)) +
                          static_cast<int>(reader.GetBool(key, flag)) +
                          static_cast<int>(reader.GetString(key, text));
        Check(found <= 1);
        if (levels > 1 && member.value().is_object()) {
            ReadAll(reader, member.value(), key + "/", levels - 1);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Pellmar::Service::Logger::sDefaultLogger->SetLevel(0);  // no lines about wrong types
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const std::size_t vendorEnd = std::min(bytes.find('\0'), size);
    const std::string_view vendorText = bytes.substr(0, vendorEnd);
    const std::string_view hostText = bytes.substr(std::min(vendorEnd + 1, size));
    for (const std::string_view text : {bytes, vendorText, hostText}) {
        CompareWithLibrary(text, Json::Comments::Refused);
        CompareWithLibrary(text, Json::Comments::Allowed);
    }

    const Tabulon::EntryPaths paths{"/vendor.json", "/host.json"};
    const json vendor = ParseOrEmpty(paths.vendor, vendorText);
    const json host = ParseOrEmpty(paths.host, hostText);
    const auto reader = Tabulon::MakeJsonReader(paths, vendor, host);
    ReadAll(*reader, vendor, "", 2);
    ReadAll(*reader, host, "", 2);
    return 0;
}
