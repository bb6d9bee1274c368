// SPDX-License-Identifier: MIT
// Keeps the fuzzers sound: what they start from, and a little damage to it, goes through every
// target.
#include <gtest/gtest.h>

#include "tests/fuzz/seeds.h"
#include "tests/fuzz/targets.h"
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

INSTANTIATE_TEST_SUITE_P(All, FuzzTarget, testing::ValuesIn(kTargets),
                         [](const auto& one) { return one.param.name; });

}  // namespace
}  // namespace fuzz
