// SPDX-License-Identifier: MIT
#include "codec/decoder/decoder_options.h"

#include <gtest/gtest.h>

namespace codec {
namespace {

TEST(ReplayBudget, IsPartOfTheMachinesMemory) {
  EXPECT_GT(DefaultReplayBudget(), 0);
  EXPECT_LE(DefaultReplayBudget(), int64_t{1} << 30);
}

}  // namespace
}  // namespace codec
