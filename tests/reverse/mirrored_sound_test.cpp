// SPDX-License-Identifier: MIT
#include "reverse/mirrored_sound.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>
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

// Readings overlap, so that sound at a border of two is told of twice.
TEST(MirroredSound, CountsLostSoundOnce) {
  FakeSound sound;
  sound.lost = {{1.99, 0.5}, {3.01, 0.25}, {5.5, 0.125}};
  FakeSoundWriter writer;
  MirroredSound mirrored(&sound, &writer, 0, 6, kRate);
  mirrored.Finish();
  EXPECT_EQ(mirrored.Account().lost, 0.875);
  EXPECT_EQ(mirrored.Account().firstLost, 1.99);
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

// Sample i of channel c is the number 10 * i + c, in blocks of 64 samples.
class ManyChannels : public SoundReader {
 public:
  explicit ManyChannels(int channels) : mChannels(channels) {}
  int Channels() const override { return mChannels; }
  int Read(double from, double to, SoundStretch* out) override {
    constexpr int kLength = 64;
    out->Clear();
    for (int first = 0; first < to * kRate; first += kLength) {
      if (first + kLength <= from * kRate) continue;
      StretchBlock block;
      block.time = static_cast<double>(first) / kRate;
      block.samples = kLength;
      block.rate = kRate;
      block.offset = out->samples.size();
      out->blocks.push_back(block);
      for (int i = 0; i < kLength * mChannels; ++i) {
        out->samples.push_back(static_cast<float>(10 * (first + i / mChannels) + i % mChannels));
      }
    }
    return 0;
  }

 private:
  const int mChannels;
};

class FloatWriter : public FakeSoundWriter {
 public:
  void WriteFrame(int /*type*/, uint8_t* data, uint32_t size, int64_t /*pts*/) override {
    const auto* const given = reinterpret_cast<const float*>(data);
    floats.insert(floats.end(), given, given + size / sizeof(float));
  }
  std::vector<float> floats;
};

TEST(MirroredSound, ReversesEachChannelInItsPlace) {
  for (const int channels : {1, 2, 6, 8}) {
    ManyChannels sound(channels);
    FloatWriter writer;
    MirroredSound mirrored(&sound, &writer, 0.5, 3.25, kRate);
    mirrored.Finish();
    EXPECT_EQ(mirrored.Written(), 2750);
    std::vector<float> expected;
    for (int i = 3250; i-- > 500;) {
      for (int c = 0; c < channels; ++c) expected.push_back(static_cast<float>(10 * i + c));
    }
    EXPECT_TRUE(writer.floats == expected) << channels;
  }
}

// What a player hears of one channel: two tones that glide, and so tell the time.
float Sweep(double seconds) {
  constexpr double kTurn = 2 * 3.14159265358979323846;
  return static_cast<float>(0.3 * std::sin(kTurn * (220 * seconds + 90 * seconds * seconds)) +
                            0.2 * std::sin(kTurn * (1500 * seconds - 37 * seconds * seconds)));
}

// The sweep in blocks of 1024 samples. Their rate changes, their stamps have ticks of 90 kHz.
class ChangingSound : public SoundReader {
 public:
  // From the time at which the sound before ends, for at least so many seconds.
  void Add(int rate, double seconds) {
    const double from = mEnd;
    for (int i = 0; mEnd < from + seconds; ++i) {
      mBlocks.push_back({rate, from + static_cast<double>(i) * kLength / rate});
      mEnd = from + static_cast<double>(i + 1) * kLength / rate;
    }
  }
  double End() const { return mEnd; }

  int Read(double from, double to, SoundStretch* out) override {
    out->Clear();
    for (const Block& block : mBlocks) {
      StretchBlock given;
      given.time = std::round(block.time * 90000) / 90000;
      given.samples = kLength;
      given.rate = block.rate;
      given.offset = out->samples.size();
      if (given.time + given.Seconds() <= from || given.time >= to) continue;
      out->blocks.push_back(given);
      for (int i = 0; i < kLength; ++i) {
        const float sample = Sweep(block.time + static_cast<double>(i) / block.rate);
        out->samples.insert(out->samples.end(), {sample, -sample});
      }
    }
    return 0;
  }

 private:
  static constexpr int kLength = 1024;
  struct Block {
    int rate;
    double time;
  };
  std::vector<Block> mBlocks;
  double mEnd = 0;
};

// Keeps the left channel.
class SampleWriter : public FakeSoundWriter {
 public:
  void WriteFrame(int /*type*/, uint8_t* data, uint32_t size, int64_t /*pts*/) override {
    const auto* const floats = reinterpret_cast<const float*>(data);
    for (size_t i = 0; i < size / sizeof(float); i += 2) left.push_back(floats[i]);
  }
  std::vector<float> left;
};

// The sweep as a formula gives it at the rate of the line. Left out is a twentieth of a second
// around each change, where filters look beyond the sound. Stamps are rounded, so that one stretch
// may lie half a sample beside the other.
TEST(MirroredSound, PutsOtherRatesInTheirPlace) {
  constexpr int kLine = 48000;
  constexpr double kMargin = 0.05;
  ChangingSound sound;
  std::vector<double> changes = {0};
  for (const auto& [rate, seconds] :
       {std::pair{48000, 2.3}, {44100, 3.4}, {32000, 1.1}, {48000, 0.7}}) {
    sound.Add(rate, seconds);
    changes.push_back(sound.End());
  }
  for (const auto& [start, end] : {std::pair{0.0, sound.End()}, {1.37, 4.9}, {3.1, 6.3}}) {
    SoundResampler resampler;
    ASSERT_EQ(resampler.Open(kLine, kLine), 0);
    SampleWriter writer;
    MirroredSound mirrored(&sound, &writer, start, end, kLine, &resampler);
    mirrored.Finish();
    const SampleRange range = SampleRange::Of(start, end, kLine);
    EXPECT_EQ(mirrored.Written(), range.Samples());
    // One of rounding.
    ASSERT_NEAR(static_cast<double>(writer.left.size()), static_cast<double>(range.Samples()), 1);
    changes.back() = end;
    for (size_t i = 0; i < writer.left.size(); ++i) {
      const double time = static_cast<double>(range.end - 1 - static_cast<int64_t>(i)) / kLine;
      const auto isNear = [time](double change) { return std::abs(time - change) < kMargin; };
      if (std::any_of(changes.begin(), changes.end(), isNear) || isNear(start)) continue;
      constexpr double kSteepest = 2 * 3.1416 * (0.3 * 1700 + 0.2 * 1500);  // a second
      ASSERT_NEAR(writer.left[i], Sweep(time), kSteepest * 1.1 / kLine) << start << " " << time;
    }
  }
}

}  // namespace
}  // namespace codec
