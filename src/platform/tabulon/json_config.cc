#include "platform/tabulon/json_config.h"

#include "platform/pellmar/exceptions.h"
#include "platform/tabulon/json_reader.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace Tabulon {

namespace {

using Pellmar::Service::Config;
using Pellmar::Service::ConfigReader;

struct FileChoice {
    bool vendor = true;
    bool host = true;
};

// The content of an entry's files; an empty object for a file that is missing or not used.
struct EntryContent {
    EntryPaths paths;
    nlohmann::json vendor = nlohmann::json::object();
    nlohmann::json host = nlohmann::json::object();
    bool isFound = false;  // at least one file was there
};

void ReadFile(const std::string& path, nlohmann::json& document, bool& isFound) {
    if (const std::optional<std::string> text = ReadEntryFile(path)) {
        document = ParseEntryText(path, *text);
        isFound = true;
    }
}

EntryContent ReadEntry(const StoreEntry& entry, FileChoice choice) {
    EntryContent content;
    content.paths = PathsOf(entry);
    if (choice.vendor) {
        ReadFile(content.paths.vendor, content.vendor, content.isFound);
    }
    if (choice.host) {
        ReadFile(content.paths.host, content.host, content.isFound);
    }
    return content;
}

Pellmar::Ref<ConfigReader> MakeReader(const EntryContent& content) {
    return MakeJsonReader(content.paths, content.vendor, content.host);
}

class JsonConfig final : public Config {
  public:
    explicit JsonConfig(EntryContent content) : content(std::move(content)) {}

    void Initialize() override {
        reader = MakeReader(content);
        content = {};  // the reader has copied what it needs
    }

    Pellmar::Ref<ConfigReader> GetReader() const override { return reader; }

    Pellmar::Ref<ConfigReader> GetReaderOf(std::string_view key, std::string_view group,
                                           std::string_view component) const override {
        const StoreEntry entry{"", std::string(key), std::string(group), std::string(component),
                               ""};
        return MakeReader(ReadEntry(entry, FileChoice{}));
    }

  private:
    EntryContent content;
    Pellmar::Ref<ConfigReader> reader;
};

const StoreEntry& OnlyEntryOf(const std::vector<StoreEntry>& entries) {
    if (entries.size() != 1) {
        throw Pellmar::InvalidArgumentException(
            "a configuration needs exactly one store entry, not " + std::to_string(entries.size()));
    }
    return entries.front();
}

EntryContent ReadEntryOrNotFound(const StoreEntry& entry, FileChoice choice) {
    try {
        return ReadEntry(entry, choice);
    } catch (const Pellmar::Exception& error) {
        throw Pellmar::NotFoundException(error.what());
    }
}

}  // namespace

Pellmar::Ref<Config> CreateTabulonConfigWithFallbackToDefault(
    const std::vector<StoreEntry>& entries) {
    return Pellmar::MakeRef<JsonConfig>(ReadEntry(OnlyEntryOf(entries), FileChoice{}));
}

Pellmar::Ref<Config> CreateTabulonConfigWithSettings(const std::vector<StoreEntry>& entries,
                                                     bool mayBeMissing, bool useVendorFile,
                                                     bool useHostFile) {
    const StoreEntry& entry = OnlyEntryOf(entries);
    EntryContent content = ReadEntryOrNotFound(entry, {useVendorFile, useHostFile});
    if (!content.isFound && !mayBeMissing) {
        throw Pellmar::NotFoundException("no configuration entry " + EntryName(entry) +
                                         ": neither " + content.paths.vendor + " nor " +
                                         content.paths.host + " exists; create one of them");
    }
    return Pellmar::MakeRef<JsonConfig>(std::move(content));
}

}  // namespace Tabulon
