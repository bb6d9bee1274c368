// SPDX-License-Identifier: MIT
#include "codec/encoder/stamp_map.h"

#include <gtest/gtest.h>

namespace codec {
namespace {

TEST(StampMap, GivesPicturesTheStampsThatTheyCameWith) {
  StampMap map;
  map.SetFrameTicks(1000);
  map.Add(0, 0);
  map.Add(1, 1700);
  map.Add(4, 4100);
  EXPECT_EQ(map.At(0), 0);
  EXPECT_EQ(map.At(1), 1700);
  EXPECT_EQ(map.At(4), 4100);
}

// Decoding times of an encoder that reorders begin before its first picture.
TEST(StampMap, GoesOnInFramesOutsideOfThePictures) {
  StampMap map;
  map.SetFrameTicks(1000);
  map.Add(0, 500);
  map.Add(1, 1700);
  EXPECT_EQ(map.At(-2), -1500);
  EXPECT_EQ(map.At(3), 3700);
}

TEST(StampMap, LaysOtherNumbersBetweenTheirNeighbours) {
  StampMap map;
  map.Add(0, 0);
  map.Add(4, 8000);
  EXPECT_EQ(map.At(1), 2000);
  EXPECT_EQ(map.At(3), 6000);
}

TEST(StampMap, KeepsTheOrderOfAllNumbers) {
  StampMap map;
  map.SetFrameTicks(3600);
  // Two pictures nearer than a frame, then a pause.
  map.Add(0, 0);
  map.Add(1, 10);
  map.Add(2, 11);
  map.Add(90, 324000);
  for (int64_t number = -5; number < 100; ++number) {
    EXPECT_LT(map.At(number), map.At(number + 1)) << number;
  }
}

TEST(StampMap, TellsTheNextPicture) {
  StampMap map;
  EXPECT_EQ(map.After(0), std::nullopt);
  map.Add(0, 500);
  map.Add(4, 4100);
  EXPECT_EQ(map.After(-1), 500);
  EXPECT_EQ(map.After(0), 4100);
  EXPECT_EQ(map.After(3), 4100);
  EXPECT_EQ(map.After(4), std::nullopt);
}

TEST(StampMap, ForgetsOnlyWhatIsNotAskedForAgain) {
  StampMap map;
  map.SetFrameTicks(1);
  for (int64_t number = 0; number < 100; number += 2) map.Add(number, number * 10);
  map.ForgetBefore(51);
  EXPECT_EQ(map.Size(), 25U);
  EXPECT_EQ(map.At(51), 510);
  EXPECT_EQ(map.At(98), 980);
}

TEST(StampMap, CountsFramesWithoutAPicture) {
  StampMap map;
  map.SetFrameTicks(40);
  EXPECT_EQ(map.At(3), 120);
}

}  // namespace
}  // namespace codec
