// The two ways to make a configuration of real files: which failures they answer, with what kind of
// exception and with what text.
#include "platform/tabulon/json_config.h"

#include "platform/pellmar/exceptions.h"
#include "support/host_directory.h"
#include "support/root_environment.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

using Pellmar::Service::Config;
using Tabulon::StoreEntry;

// The configuration store of this test program, in which each test uses keys of its own.
const ::Test::RootEnvironment* const kStore = ::Test::RootEnvironment::Add();

StoreEntry EntryOf(std::string_view key) { return {"", std::string(key), "health", "oru", ""}; }

// The plain paths of its two files, and these below the root.
std::string VendorPath(std::string_view key) {
    return "/usr/lib/korvex/tabulon/oru/health/" + std::string(key) + ".json";
}
std::string HostPath(std::string_view key) {
    return "/etc/korvex/tabulon/oru/health/" + std::string(key) + ".json";
}
std::string BelowRoot(const std::string& plainPath) { return kStore->Path() + plainPath.substr(1); }

void Write(const std::string& plainPath, std::string_view text) {
    const fs::path path = BelowRoot(plainPath);
    fs::create_directories(path.parent_path());
    ::Test::WriteFile(path, text);
}

using Create = std::function<Pellmar::Ref<Config>(const std::vector<StoreEntry>&)>;

const Create kFallback = Tabulon::CreateTabulonConfigWithFallbackToDefault;
const Create kSettings = [](const std::vector<StoreEntry>& entries) {
    return Tabulon::CreateTabulonConfigWithSettings(entries, /*mayBeMissing=*/false,
                                                    /*useVendorFile=*/true, /*useHostFile=*/true);
};

// The integer "value" of what `create` makes; 0 when it has none.
std::int32_t ValueOf(const Create& create, const StoreEntry& entry) {
    const Pellmar::Ref<Config> config = create({entry});
    config->Initialize();
    std::int32_t value = 0;
    (void)config->GetReader()->GetInt("value", value);
    return value;
}

// The text of the exception, with "not found: " before it when it is of that kind.
std::string FailureOf(const Create& create, const std::vector<StoreEntry>& entries) {
    try {
        (void)create(entries);
    } catch (const Pellmar::NotFoundException& error) {
        return std::string("not found: ") + error.what();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "no failure";
}

TEST(JsonConfig, IsEmptyWithoutFilesOrNotFoundAsTheCallAsks) {
    EXPECT_EQ(ValueOf(kFallback, EntryOf("absent")), 0);
    EXPECT_EQ(FailureOf(kSettings, {EntryOf("absent")}),
              "not found: no configuration entry oru/health/absent: neither " +
                  VendorPath("absent") + " nor " + HostPath("absent") +
                  " exists; create one of them");
}

TEST(JsonConfig, FollowsTheFlagsOfTheSettingsCall) {
    Write(VendorPath("flags"), R"({"value": 1})");
    Write(HostPath("flags"), "broken");
    const Create vendorAlone = [](const std::vector<StoreEntry>& entries) {
        return Tabulon::CreateTabulonConfigWithSettings(entries, /*mayBeMissing=*/false,
                                                        /*useVendorFile=*/true,
                                                        /*useHostFile=*/false);
    };
    const Create hostAloneIfThere = [](const std::vector<StoreEntry>& entries) {
        return Tabulon::CreateTabulonConfigWithSettings(entries, /*mayBeMissing=*/true,
                                                        /*useVendorFile=*/false,
                                                        /*useHostFile=*/true);
    };
    EXPECT_EQ(ValueOf(vendorAlone, EntryOf("flags")), 1);
    EXPECT_EQ(ValueOf(hostAloneIfThere, EntryOf("absent-too")), 0);
    EXPECT_NE(FailureOf(hostAloneIfThere, {EntryOf("flags")}), "no failure");
}

TEST(JsonConfig, NamesFileLineColumnAndReasonOfABrokenFile) {
    const std::string path = HostPath("broken");
    struct Row {
        std::string text;
        std::string failure;
    };
    const Row rows[] = {
        {"{\n  \"value\": 1,\n  \"other\" 2\n}", path + ":3:11: expected ':', found '2'"},
        {"", path + ":1:1: the text ends where an object, '{' is expected"},
    };
    Write(VendorPath("broken"), R"({"value": 1})");  // a good file does not help
    for (const Row& row : rows) {
        Write(HostPath("broken"), row.text);
        EXPECT_EQ(FailureOf(kFallback, {EntryOf("broken")}), row.failure);
        EXPECT_EQ(FailureOf(kSettings, {EntryOf("broken")}), "not found: " + row.failure);
    }
    Write(VendorPath("broken-vendor"), "{");
    Write(HostPath("broken-vendor"), "{}");
    EXPECT_EQ(FailureOf(kFallback, {EntryOf("broken-vendor")})
                  .rfind(VendorPath("broken-vendor") + ":1:2: ", 0),
              0U);
}

struct UnreadableRow {
    const char* key;
    std::function<void(const std::string& path)> make;
    const char* reason;
};

TEST(JsonConfig, RefusesExistingEntriesThatCannotBeRead) {
    Write(HostPath("neighbour"), "{}");  // makes the folder
    const UnreadableRow rows[] = {
        {"directory", [](const std::string& path) { fs::create_directory(path); },
         "it is not a regular file"},
        {"fifo", [](const std::string& path) { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); },
         "it is not a regular file"},
        {"loop", [](const std::string& path) { fs::create_symlink("loop.json", path); },
         "Too many levels of symbolic links"},
    };
    for (const UnreadableRow& row : rows) {
        const std::string path = HostPath(row.key);
        row.make(BelowRoot(path));
        const std::string failure = path + " cannot be read: " + row.reason +
                                    "; replace it by a readable file, or remove it";
        EXPECT_EQ(FailureOf(kFallback, {EntryOf(row.key)}), failure);
        EXPECT_EQ(FailureOf(kSettings, {EntryOf(row.key)}), "not found: " + failure);
    }
}

TEST(JsonConfig, ReadsAFileUpToItsBound) {
    const std::string value = "{\"value\": 8}";
    const std::string blanks(Tabulon::kMaxFileBytes - value.size(), ' ');
    Write(HostPath("long"), value + blanks);
    EXPECT_EQ(ValueOf(kFallback, EntryOf("long")), 8);
    Write(HostPath("long"), value + blanks + " ");
    EXPECT_EQ(FailureOf(kFallback, {EntryOf("long")}),
              HostPath("long") +
                  " cannot be read: it is longer than 1048576 bytes; replace it by a readable "
                  "file, or remove it");
}

TEST(JsonConfig, RefusesNamesThatLeaveTheStore) {
    const std::string nul("a\0b", 3);
    const StoreEntry entries[] = {
        {"", "../escape", "health", "oru", ""}, {"", "key", "..", "oru", ""},
        {"", "key", "health", ".", ""},         {"", "/etc/passwd", "health", "oru", ""},
        {"", nul, "health", "oru", ""},
    };
    for (const StoreEntry& entry : entries) {
        EXPECT_THROW((void)kFallback({entry}), Pellmar::InvalidArgumentException)
            << Tabulon::EntryName(entry);
        EXPECT_THROW((void)kSettings({entry}), Pellmar::NotFoundException)
            << Tabulon::EntryName(entry);
    }
    Write(HostPath("..dots..inside.."), R"({"value": 5})");
    EXPECT_EQ(ValueOf(kSettings, EntryOf("..dots..inside..")), 5);
}

}  // namespace
