// SENTREL_ROOT for a whole test program, since a process reads it once.
#pragma once

#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace Test {

// A temporary directory that SENTREL_ROOT names before the first test runs.
class RootEnvironment : public testing::Environment {
  public:
    // Owned by GoogleTest; for a constant of the program.
    static RootEnvironment* Add() {
        auto* const added = new RootEnvironment;
        testing::AddGlobalTestEnvironment(added);
        return added;
    }
    void SetUp() override {
        root = std::make_unique<TemporaryDirectory>();
        ASSERT_EQ(::setenv("SENTREL_ROOT", root->Path().c_str(), 1), 0);
    }
    void TearDown() override { root.reset(); }

    // Ends in "/".
    const std::string& Path() const { return root->Path(); }

  private:
    std::unique_ptr<TemporaryDirectory> root;
};

}  // namespace Test
