#include "store_directory.h"

#include "support/host_directory.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>

namespace {

class StoreEnvironment : public testing::Environment {
  public:
    void SetUp() override {
        root = std::make_unique<Test::TemporaryDirectory>();
        ASSERT_EQ(setenv("SENTREL_ROOT", root->Path().c_str(), 1), 0);
    }
    void TearDown() override { root.reset(); }

    const std::string& Root() const { return root->Path(); }

  private:
    std::unique_ptr<Test::TemporaryDirectory> root;
};

// Owned by GoogleTest.
StoreEnvironment* const kStore =
    static_cast<StoreEnvironment*>(testing::AddGlobalTestEnvironment(new StoreEnvironment));

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

std::string BelowRoot(const std::string& plainPath) { return kStore->Root() + plainPath.substr(1); }

void WriteVendorFile(std::string_view key, std::string_view text) { Write(VendorPath(key), text); }
void WriteHostFile(std::string_view key, std::string_view text) { Write(HostPath(key), text); }

}  // namespace Test
