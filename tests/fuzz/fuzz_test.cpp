// SPDX-License-Identifier: MIT
// Keeps the fuzzers sound: what they start from, and a little damage to it, goes through every
// target.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/fuzz/seeds.h"
#include "tests/fuzz/targets.h"
#include "tests/robustness/corpus.h"
#include "tests/robustness/damage.h"

namespace fuzz {
namespace {

class FuzzTarget : public testing::TestWithParam<Target> {};

TEST_P(FuzzTarget, TakesItsSeedsAndDamagedOnes) {
  constexpr uint64_t kDamagedOfEach = 4;
  const auto run = [](const std::string& bytes) {
    GetParam().run(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  };
  run({});
  const std::vector<std::string> seeds = Seeds(GetParam().name);
  ASSERT_FALSE(seeds.empty());
  uint64_t number = 0;
  for (const std::string& seed : seeds) {
    run(seed);
    for (uint64_t i = 0; i < kDamagedOfEach; ++i) run(test_support::Damage(seed, ++number));
  }
}

// What fuzzers have met: the smallest set of inputs that reaches all code that they reached.
TEST_P(FuzzTarget, TakesItsCorpus) {
  const std::filesystem::path folder = std::filesystem::path(FUZZ_CORPUS) / GetParam().name;
  int count = 0;
  for (const auto& file : std::filesystem::directory_iterator(folder)) {
    const std::string bytes = test_support::ReadBytes(file.path().string());
    GetParam().run(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    ++count;
  }
  EXPECT_GT(count, 0) << folder;
}

INSTANTIATE_TEST_SUITE_P(All, FuzzTarget, testing::ValuesIn(kTargets),
                         [](const auto& one) { return one.param.name; });

}  // namespace
}  // namespace fuzz
