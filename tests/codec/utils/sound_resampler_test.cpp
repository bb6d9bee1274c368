// SPDX-License-Identifier: MIT
#include "codec/utils/sound_resampler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace codec {
namespace {

constexpr double kPi = 3.14159265358979323846;

// A tone on the left and its quadrature on the right, as a formula gives them at this rate.
std::vector<float> Tone(double hertz, int rate, int64_t samples) {
  std::vector<float> tone;
  for (int64_t i = 0; i < samples; ++i) {
    const double phase = 2 * kPi * hertz * static_cast<double>(i) / rate;
    tone.push_back(static_cast<float>(0.5 * std::sin(phase)));
    tone.push_back(static_cast<float>(0.5 * std::cos(phase)));
  }
  return tone;
}

std::vector<float> Resampled(const std::vector<float>& samples, int from, int to, int64_t block) {
  SoundResampler resampler;
  EXPECT_EQ(resampler.Open(from, to), 0);
  std::vector<float> all;
  std::vector<float> part;
  const auto count = static_cast<int64_t>(samples.size()) / 2;
  for (int64_t at = 0; at < count; at += block) {
    EXPECT_EQ(resampler.Convert(samples.data() + 2 * at, std::min(block, count - at), &part), 0);
    all.insert(all.end(), part.begin(), part.end());
  }
  EXPECT_EQ(resampler.Finish(&part), 0);
  all.insert(all.end(), part.begin(), part.end());
  EXPECT_EQ(resampler.Finish(&part), 0);
  EXPECT_TRUE(part.empty());
  return all;
}

// Of the loudest sample of the difference, leaving out a twentieth of a second at both ends, where
// the filter looks beyond the sound.
double Decibels(const std::vector<float>& got, const std::vector<float>& expected, int rate) {
  EXPECT_EQ(got.size(), expected.size());
  double most = 1e-9;
  const auto margin = static_cast<size_t>(rate / 20) * 2;
  for (size_t i = margin; i + margin < std::min(got.size(), expected.size()); ++i) {
    most = std::max(most, std::abs(static_cast<double>(got[i]) - expected[i]));
  }
  return 20 * std::log10(most / 0.5);
}

struct Rates {
  int from;
  int to;
};
constexpr Rates kRates[] = {{192000, 96000}, {176400, 88200}, {50000, 48000},
                            {37800, 32000},  {6000, 7350},    {4000, 7350}};

TEST(SoundResampler, GivesTheToneThatTheFormulaGivesAtTheOtherRate) {
  for (const auto& [from, to] : kRates) {
    for (const double part : {0.02, 0.1, 0.25, 0.4}) {
      const double hertz = part * std::min(from, to);
      const std::vector<float> got = Resampled(Tone(hertz, from, 2 * from), from, to, 4096);
      EXPECT_LT(Decibels(got, Tone(hertz, to, 2 * to), to), -90) << from << " " << hertz;
    }
  }
}

TEST(SoundResampler, LeavesOutWhatTheOtherRateCannotHold) {
  const std::vector<float> got = Resampled(Tone(60000, 192000, 192000), 192000, 96000, 4096);
  EXPECT_LT(Decibels(got, std::vector<float>(got.size()), 96000), -90);
}

TEST(SoundResampler, GivesTheSameWhateverTheBlocks) {
  const std::vector<float> tone = Tone(440, 50000, 12345);
  const std::vector<float> whole = Resampled(tone, 50000, 48000, 12345);
  EXPECT_EQ(whole.size(), 2U * 11851U);
  for (const int64_t block : {1, 7, 1000}) EXPECT_EQ(Resampled(tone, 50000, 48000, block), whole);
}

TEST(SoundResampler, GivesSoundOfTheSameLengthHoweverShortItIs) {
  for (const auto& [from, to] : kRates) {
    for (const int64_t samples : {0, 1, 2, 5, 100}) {
      const std::vector<float> got = Resampled(Tone(100, from, samples), from, to, 64);
      EXPECT_EQ(static_cast<int64_t>(got.size()) / 2,
                std::llround(static_cast<double>(samples) * to / from));
    }
  }
}

// Another tone in each channel, so that a swap or a mix is heard.
std::vector<float> Tones(int channels, int rate, int64_t samples) {
  std::vector<float> tones;
  for (int64_t i = 0; i < samples; ++i) {
    for (int channel = 0; channel < channels; ++channel) {
      const double phase = 2 * kPi * 300 * (channel + 1) * static_cast<double>(i) / rate;
      tones.push_back(static_cast<float>(0.5 * std::sin(phase)));
    }
  }
  return tones;
}

TEST(SoundResampler, KeepsEachChannelApart) {
  constexpr int kIn = 44100;
  constexpr int kOut = 48000;
  for (const SoundLayout& layout :
       {SoundLayout{1, AV_CH_LAYOUT_MONO}, SoundLayout{}, SoundLayout{6, AV_CH_LAYOUT_5POINT1_BACK},
        SoundLayout{12, 0}}) {
    SoundResampler resampler;
    ASSERT_EQ(resampler.Open(kIn, kOut, layout), 0);
    std::vector<float> all;
    std::vector<float> part;
    ASSERT_EQ(resampler.Convert(Tones(layout.channels, kIn, kIn).data(), kIn, &all), 0);
    ASSERT_EQ(resampler.Finish(&part), 0);
    all.insert(all.end(), part.begin(), part.end());
    const std::vector<float> expected = Tones(layout.channels, kOut, kOut);
    ASSERT_EQ(all.size(), expected.size());
    const auto margin = static_cast<size_t>(kOut / 20 * layout.channels);
    for (size_t i = margin; i + margin < all.size(); ++i) {
      ASSERT_NEAR(all[i], expected[i], 2e-5) << layout.channels << " " << i;
    }
  }
}

// A tone of a second at each of these rates in turn. Each second has whole periods.
TEST(SoundResampler, GivesATonePureThatComesAtChangingRates) {
  constexpr int kOut = 48000;
  constexpr int kIn[] = {44100, 48000, 32000, 96000, 48000};
  SoundResampler resampler;
  ASSERT_EQ(resampler.Open(kIn[0], kOut), 0);
  std::vector<float> all;
  std::vector<float> part;
  for (const int rate : kIn) {
    ASSERT_EQ(resampler.ChangeInputRate(rate, &part), 0);
    all.insert(all.end(), part.begin(), part.end());
    EXPECT_EQ(all.size() % (2 * kOut), 0U);
    EXPECT_EQ(resampler.InputRate(), rate);
    EXPECT_EQ(resampler.PassesThrough(), rate == kOut);
    ASSERT_EQ(resampler.Convert(Tone(440, rate, rate).data(), rate, &part), 0);
    all.insert(all.end(), part.begin(), part.end());
  }
  ASSERT_EQ(resampler.Finish(&part), 0);
  all.insert(all.end(), part.begin(), part.end());
  ASSERT_EQ(all.size(), 5U * 2 * kOut);
  for (int second = 0; second < 5; ++second) {
    const auto from = all.begin() + std::ptrdiff_t{second} * 2 * kOut;
    EXPECT_LT(Decibels({from, from + 2 * kOut}, Tone(440, kOut, kOut), kOut), -90) << second;
  }
}

// Of a single stretch each would be rounded by up to half a sample.
TEST(SoundResampler, KeepsTheLengthOverManyChangesOfRate) {
  constexpr int kOut = 48000;
  constexpr std::pair<int, int> kStretches[] = {{44100, 1001}, {32000, 1}, {48000, 3}, {11025, 7}};
  SoundResampler resampler;
  ASSERT_EQ(resampler.Open(kOut, kOut), 0);
  std::vector<float> part;
  size_t given = 0;
  double seconds = 0;
  for (int i = 0; i < 400; ++i) {
    const auto& [rate, samples] = kStretches[i % 4];
    ASSERT_EQ(resampler.ChangeInputRate(rate, &part), 0);
    given += part.size() / 2;
    EXPECT_NEAR(static_cast<double>(given), seconds * kOut, 0.5001) << i;
    ASSERT_EQ(resampler.Convert(Tone(100, rate, samples).data(), samples, &part), 0);
    given += part.size() / 2;
    seconds += static_cast<double>(samples) / rate;
  }
  EXPECT_EQ(resampler.Failure(), 0);
}

TEST(SoundResampler, TellsOfARateThatItCannotGoOnWith) {
  SoundResampler resampler;
  ASSERT_EQ(resampler.Open(44100, 48000), 0);
  std::vector<float> out;
  EXPECT_LT(resampler.ChangeInputRate(0, &out), 0);
  EXPECT_LT(resampler.Failure(), 0);
  const float samples[2] = {};
  EXPECT_LT(resampler.Convert(samples, 1, &out), 0);
}

TEST(SoundResampler, RefusesRatesThatAreNone) {
  SoundResampler resampler;
  EXPECT_EQ(resampler.Open(0, 48000), -1);
  std::vector<float> out;
  EXPECT_LT(resampler.Finish(&out), 0);
}

}  // namespace
}  // namespace codec
