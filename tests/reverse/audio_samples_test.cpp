// SPDX-License-Identifier: MIT
#include "reverse/audio_samples.h"

#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <vector>

namespace codec {
namespace {

template <typename Sample>
std::vector<Sample> Reversed(std::vector<Sample> samples, int channels, int format) {
  ReverseAudioSamples(reinterpret_cast<uint8_t*>(samples.data()),
                      static_cast<uint32_t>(samples.size() * sizeof(Sample)), channels, format);
  return samples;
}

TEST(ReverseAudioSamples, MovesBothChannelsOfAnInterleavedInstantTogether) {
  EXPECT_EQ(Reversed<int16_t>({10, -10, 11, -11, 12, -12}, 2, 1),
            (std::vector<int16_t>{12, -12, 11, -11, 10, -10}));
}

TEST(ReverseAudioSamples, ReversesEachPlane) {
  EXPECT_EQ(Reversed<float>({0, 1, 2, 10, 11, 12}, 2, 8),
            (std::vector<float>{2, 1, 0, 12, 11, 10}));
}

TEST(ReverseAudioSamples, LeavesASingleInstantAlone) {
  EXPECT_EQ(Reversed<float>({1, 2}, 2, 3), (std::vector<float>{1, 2}));
}

TEST(ReverseAudioSamples, LeavesUnknownFormatsAndChannelCountsAlone) {
  const std::vector<int16_t> samples = {1, 2, 3, 4};
  for (const int format : {-2, -1, 10, 11, 1000}) EXPECT_EQ(Reversed(samples, 2, format), samples);
  for (const int channels : {0, -1}) EXPECT_EQ(Reversed(samples, channels, 1), samples);
  EXPECT_EQ(Reversed<int16_t>({}, 2, 1), (std::vector<int16_t>{}));
}

TEST(ReverseAudioSamples, KeepsBytesThatMakeNoWholeInstant) {
  // Seven bytes of stereo 16 bit: one whole instant and three bytes.
  std::vector<uint8_t> bytes = {1, 2, 3, 4, 5, 6, 7};
  const std::vector<uint8_t> before = bytes;
  ReverseAudioSamples(bytes.data(), 7, 2, 1);
  EXPECT_EQ(bytes, before);
}

// Every format and several channel counts against one sample moved at a time.
TEST(ReverseAudioSamples, AgreesWithASlowLoopForEveryFormat) {
  constexpr size_t kBytes[] = {1, 2, 4, 4, 8, 1, 2, 4, 4, 8};
  for (size_t format = 0; format < 10; ++format) {
    for (const size_t channels : {1U, 2U, 3U, 6U}) {
      for (const size_t instants : {1U, 2U, 7U, 1024U}) {
        const size_t width = kBytes[format];
        std::vector<uint8_t> source(channels * instants * width);
        std::iota(source.begin(), source.end(), static_cast<uint8_t>(format));
        std::vector<uint8_t> expected(source.size());
        const bool planar = format >= 5;
        for (size_t c = 0; c < channels; ++c) {
          for (size_t i = 0; i < instants; ++i) {
            const size_t mirrored = instants - 1 - i;
            const size_t from = planar ? c * instants + i : i * channels + c;
            const size_t to = planar ? c * instants + mirrored : mirrored * channels + c;
            std::memcpy(&expected[to * width], &source[from * width], width);
          }
        }
        ReverseAudioSamples(source.data(), static_cast<uint32_t>(source.size()),
                            static_cast<int32_t>(channels), static_cast<int32_t>(format));
        EXPECT_EQ(source, expected) << "format " << format << ", channels " << channels;
      }
    }
  }
}

}  // namespace
}  // namespace codec
