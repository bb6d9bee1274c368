// SPDX-License-Identifier: MIT
// The clips of the tests show what their makers promise; every other test of a run builds on that.
#include "tests/support/clips.h"

#include <gtest/gtest.h>

#include "tests/support/media_reading.h"

namespace test_support {
namespace {

class Clips : public testing::TestWithParam<ClipKind> {};

TEST_P(Clips, NumberTheirPictures) {
  if (GetParam() == ClipKind::kTiny) GTEST_SKIP() << "too small for numbers";
  const std::vector<Picture> pictures = DecodeLuma(Clip(GetParam()));
  ASSERT_GT(pictures.size(), 20U);
  int last = -1;
  for (const Picture& picture : pictures) {
    const int number = ReadFrameNumber(picture);
    EXPECT_GT(number, last);
    last = number;
  }
  if (GetParam() != ClipKind::kVariableRate) {
    EXPECT_EQ(last + 1, static_cast<int>(pictures.size()));
  }
}

INSTANTIATE_TEST_SUITE_P(AllKinds, Clips, testing::ValuesIn(VideoClipKinds()),
                         [](const auto& parameter) { return ClipName(parameter.param); });

}  // namespace
}  // namespace test_support
