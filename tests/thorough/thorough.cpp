// Makes the program that it is linked into the thorough one: full effort, and at the end figures, which scripts/test
// puts into a table.
#include <gtest/gtest.h>

#include <cstdio>

#include "tests/support/robustness.h"

namespace {

class Thorough : public testing::Environment {
 public:
  void SetUp() override { harness::effort = {1, 1, 1, 10000, 20000, 20, 500, 50}; }
  void TearDown() override {
    for (const harness::Figure& figure : harness::figures) {
      std::printf("figure|%s|%lld|%lld\n", figure.thrown.c_str(), figure.count, figure.failures);
      EXPECT_EQ(figure.failures, 0) << figure.thrown;
      EXPECT_GT(figure.count, 0) << figure.thrown;
    }
    std::fflush(stdout);
  }
};

const auto* const thorough = testing::AddGlobalTestEnvironment(new Thorough);

}  // namespace
