// SPDX-License-Identifier: MIT
#include "reverse/mirrored_sound.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "tests/reverse/mirror_fakes.h"

namespace codec {
namespace {

constexpr int kRate = FakeSound::kRate;

// What the range sounds like when it is played from its end: by the samples' numbers, 0 for
// silence. A slow reference that knows nothing of seconds and blocks.
std::vector<int> Mirrored(const FakeSound& sound, int64_t first, int64_t end) {
  std::vector<int> samples;
  for (int64_t place = end; place-- > first;) samples.push_back(sound.At(place));
  return samples;
}

std::vector<int> Written(FakeSound* sound, double start, double end) {
  FakeSoundWriter writer;
  MirroredSound mirrored(sound, &writer, start, end, kRate);
  mirrored.Finish();
  EXPECT_EQ(mirrored.Written(), static_cast<int64_t>(writer.samples.size()));
  EXPECT_TRUE(writer.isContiguous);
  return writer.samples;
}

TEST(MirroredSound, WritesEachSampleOfTheRangeOnceNewestFirst) {
  FakeSound sound;
  sound.Add(0, std::vector<int>(300, 64));
  EXPECT_EQ(Written(&sound, 0, 19.2), Mirrored(sound, 0, 19200));
  EXPECT_EQ(Written(&sound, 2, 5), Mirrored(sound, 2000, 5000));
  EXPECT_EQ(Written(&sound, 1.333, 4.777), Mirrored(sound, 1333, 4777));
  EXPECT_EQ(Written(&sound, 3.04, 3.08), Mirrored(sound, 3040, 3080));
}

TEST(MirroredSound, TakesBlocksOfAnyLength) {
  FakeSound sound;
  sound.Add(0, {1, 700, 2500, 3, 999, 1000, 1001, 64, 4000, 17});
  EXPECT_EQ(Written(&sound, 0, 10), Mirrored(sound, 0, 10000));
  EXPECT_EQ(Written(&sound, 0.5, 7.25), Mirrored(sound, 500, 7250));
}

TEST(MirroredSound, IsSilentBeforeAfterAndInHoles) {
  FakeSound sound;
  sound.Add(2100, std::vector<int>(20, 64));
  sound.Add(5000, std::vector<int>(10, 64));
  EXPECT_EQ(Written(&sound, 0, 9), Mirrored(sound, 0, 9000));
  EXPECT_EQ(Written(&sound, 3.5, 4.5), std::vector<int>(1000, 0));
}

TEST(MirroredSound, IsSilentWhereReadingFails) {
  FakeSound sound;
  sound.Add(0, std::vector<int>(100, 64));
  sound.failsFrom = 2;
  sound.failsTo = 3;
  std::vector<int> expected = Mirrored(sound, 0, 6000);
  std::fill(expected.begin() + 3000, expected.begin() + 4000, 0);
  std::vector<int> written = Written(&sound, 0, 6);
  ASSERT_EQ(written.size(), expected.size());
  // The block that reaches over the end of the second that failed is lost with it, and the one that
  // reaches over its start belongs to the second before it.
  EXPECT_TRUE(std::equal(written.begin(), written.begin() + 2900, expected.begin()));
  EXPECT_TRUE(std::equal(written.begin() + 4100, written.end(), expected.begin() + 4100));
}

TEST(MirroredSound, WritesAtMostASecondAhead) {
  FakeSound sound;
  sound.Add(0, std::vector<int>(300, 64));
  FakeSoundWriter writer;
  MirroredSound mirrored(&sound, &writer, 0, 10, kRate);
  mirrored.WriteDownTo(10);
  EXPECT_EQ(mirrored.Written(), 0);
  for (const double down : {9.9, 9.1, 9.0, 8.5, 4.25}) {
    mirrored.WriteDownTo(down);
    EXPECT_GE(mirrored.Written(), static_cast<int64_t>((10 - down) * kRate)) << down;
    EXPECT_LE(mirrored.Written(), static_cast<int64_t>((11 - down) * kRate) + 64) << down;
  }
  mirrored.Finish();
  EXPECT_EQ(writer.samples, Mirrored(sound, 0, 10000));
}

TEST(MirroredSound, StampsTenHoursWithoutAnError) {
  FakeSound sound;
  FakeSoundWriter writer;
  writer.keepsSamples = false;
  MirroredSound mirrored(&sound, &writer, 0, 36000, kRate);
  mirrored.Finish();
  EXPECT_EQ(mirrored.Written(), int64_t{36000} * kRate);
  EXPECT_TRUE(writer.isContiguous);
}

}  // namespace
}  // namespace codec
