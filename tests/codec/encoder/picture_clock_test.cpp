// SPDX-License-Identifier: MIT
#include "codec/encoder/picture_clock.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace codec {
namespace {

PictureClock Opened(double frameRate, int stampRate) {
  PictureClock clock;
  clock.Open(frameRate, stampRate);
  return clock;
}

std::vector<int64_t> Stamps(PictureClock clock, const std::vector<int64_t>& times) {
  std::vector<int64_t> stamps;
  for (const int64_t time : times) stamps.push_back(clock.Next(time).stamp);
  return stamps;
}

std::vector<int64_t> Numbers(PictureClock clock, const std::vector<int64_t>& times) {
  std::vector<int64_t> numbers;
  for (const int64_t time : times) numbers.push_back(clock.Next(time).number);
  return numbers;
}

void ExpectBase(AVRational base, int num, int den) {
  EXPECT_EQ(base.num, num);
  EXPECT_EQ(base.den, den);
}

TEST(PictureClock, StampsWithFrameNumbersUnlessThereIsAStampRate) {
  for (const int rate : {0, -90000}) {
    const PictureClock clock = Opened(29.97, rate);
    ExpectBase(clock.FrameBase(), 1000, 29970);
    ExpectBase(clock.StampBase(), 1000, 29970);
    EXPECT_EQ(clock.FrameTicks(), 1);
    ExpectBase(clock.FrameRate(), 2997, 100);
    const std::vector<int64_t> times = {0, 33366, 33366, 2000000};
    EXPECT_EQ(Stamps(clock, times), (std::vector<int64_t>{0, 1, 2, 60}));
    EXPECT_EQ(Numbers(clock, times), Stamps(clock, times));
  }
}

TEST(PictureClock, KeepsTimesInTicksOfTheStampRate) {
  const PictureClock clock = Opened(25, 90000);
  ExpectBase(clock.FrameBase(), 1000, 25000);
  ExpectBase(clock.StampBase(), 1, 90000);
  EXPECT_EQ(clock.FrameTicks(), 3600);
  // A burst, a pause of ten seconds, and two hours.
  const std::vector<int64_t> times = {0, 16667, 33333, 10033333, 7200000000};
  EXPECT_EQ(Stamps(clock, times), (std::vector<int64_t>{0, 1500, 3000, 903000, 648000000}));
}

TEST(PictureClock, CountsFramesForTheEncoderAllTheSame) {
  EXPECT_EQ(Numbers(Opened(25, 90000), {0, 16667, 33333, 10033333}),
            (std::vector<int64_t>{0, 1, 2, 251}));
}

TEST(PictureClock, PutsConstantRatesOnAGridOfWholeTicks) {
  PictureClock clock = Opened(29.97, 30000);
  EXPECT_EQ(clock.FrameTicks(), 1001);
  ExpectBase(clock.FrameRate(), 30000, 1001);
  for (int64_t i = 0; i < 100000; ++i) {
    // As a job hands them over: cut to the microsecond.
    ASSERT_EQ(clock.Next(i * 1001 * 1000000 / 30000).stamp, i * 1001) << i;
  }
}

TEST(PictureClock, NeverRepeatsAStampNorGoesBack) {
  EXPECT_EQ(Stamps(Opened(25, 1000), {0, 0, 400, 900, 5000, 3000, 6000, 7000}),
            (std::vector<int64_t>{0, 1, 2, 3, 5, 6, 7, 8}));
  EXPECT_EQ(Stamps(Opened(25, 1000), {-80000, -40000, 0, 1000}),
            (std::vector<int64_t>{0, 1, 2, 3}));
}

TEST(PictureClock, TakesRatesBelowOneFrameASecond) {
  const PictureClock slides = Opened(1.0 / 3, 90000);
  ExpectBase(slides.FrameBase(), 1000, 333);
  EXPECT_EQ(slides.FrameTicks(), 270000);
  EXPECT_EQ(Stamps(slides, {0, 3000000, 6000000}), (std::vector<int64_t>{0, 270000, 540000}));
  EXPECT_EQ(Numbers(slides, {0, 3000000, 6000000}), (std::vector<int64_t>{0, 1, 2}));
  // A picture in three hours, too, but not on a grid, which counts in 1000 seconds.
  ExpectBase(Opened(0.0001, 90000).FrameBase(), 1000, 1);
  ExpectBase(Opened(0.0001, 0).FrameBase(), 1000, 0);
}

TEST(PictureClock, TakesTimesAndRatesThatMakeNoSense) {
  constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
  constexpr int64_t kLeast = std::numeric_limits<int64_t>::min();
  PictureClock clock = Opened(25, std::numeric_limits<int>::max());
  EXPECT_GE(clock.Next(kLeast).stamp, 0);
  EXPECT_GT(clock.Next(kMost).stamp, 0);
  EXPECT_GT(clock.FrameTicks(), 0);
  EXPECT_EQ(Opened(1e9, 1000).FrameTicks(), 1);
}

}  // namespace
}  // namespace codec
