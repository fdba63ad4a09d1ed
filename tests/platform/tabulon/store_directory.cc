#include "store_directory.h"

#include "support/host_directory.h"
#include "support/root_environment.h"

#include <filesystem>

namespace {

const Test::RootEnvironment* const kStore = Test::RootEnvironment::Add();

void Write(const std::string& plainPath, std::string_view text) {
    const std::filesystem::path path = Test::BelowRoot(plainPath);
    std::filesystem::create_directories(path.parent_path());
    Test::WriteFile(path, text);
}

}  // namespace

namespace Test {

Tabulon::StoreEntry EntryOf(std::string_view key) {
    return {"", std::string(key), "health", "oru", ""};
}

std::string VendorPath(std::string_view key) {
    return "/usr/lib/korvex/tabulon/oru/health/" + std::string(key) + ".json";
}

std::string HostPath(std::string_view key) {
    return "/etc/korvex/tabulon/oru/health/" + std::string(key) + ".json";
}

std::string BelowRoot(const std::string& plainPath) { return kStore->Path() + plainPath.substr(1); }

void WriteVendorFile(std::string_view key, std::string_view text) { Write(VendorPath(key), text); }
void WriteHostFile(std::string_view key, std::string_view text) { Write(HostPath(key), text); }

}  // namespace Test
