// SPDX-License-Identifier: MIT
#include "codec/encoder/sample_planes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {
namespace {

TEST(SamplePlanes, SplitsLikeASlowLoopForEverySampleWidth) {
  for (const size_t bytes : {size_t{1}, size_t{2}, size_t{4}}) {
    for (const size_t channels : {size_t{1}, size_t{2}, size_t{3}, size_t{6}, size_t{8}}) {
      for (const size_t samples : {size_t{0}, size_t{1}, size_t{7}, size_t{1024}}) {
        std::vector<uint8_t> in(samples * channels * bytes);
        for (size_t i = 0; i < in.size(); ++i) in[i] = static_cast<uint8_t>(i * 131 + i / 256);
        std::vector<uint8_t> expected(in.size());
        for (size_t i = 0; i < in.size(); ++i) {
          const size_t sample = i / (channels * bytes);
          const size_t channel = i / bytes % channels;
          expected[(channel * samples + sample) * bytes + i % bytes] = in[i];
        }
        std::vector<uint8_t> out(in.size() + 1, 0xA5);
        SplitIntoPlanes(in.data(), samples, channels, bytes, out.data());
        EXPECT_EQ(out.back(), 0xA5);
        out.pop_back();
        EXPECT_EQ(out, expected) << bytes << " " << channels << " " << samples;
      }
    }
  }
}

TEST(SamplePlanes, StereoSixteenBitBlockOf4096BytesGives1024SamplesAChannel) {
  std::vector<int16_t> in;
  for (int i = 0; i < 1024; ++i) {
    in.push_back(static_cast<int16_t>(i));
    in.push_back(static_cast<int16_t>(-i));
  }
  std::vector<int16_t> out(2048);
  SplitIntoPlanes(reinterpret_cast<const uint8_t*>(in.data()), 1024, 2, 2,
                  reinterpret_cast<uint8_t*>(out.data()));
  for (int i = 0; i < 1024; ++i) {
    ASSERT_EQ(out[static_cast<size_t>(i)], i);
    ASSERT_EQ(out[static_cast<size_t>(i + 1024)], -i);
  }
}

TEST(SamplePlanes, WritesNothingForAnUnknownWidth) {
  std::vector<uint8_t> in(24, 1);
  std::vector<uint8_t> out(24, 7);
  for (const size_t bytes : {size_t{0}, size_t{3}, size_t{8}}) {
    SplitIntoPlanes(in.data(), 1, 3, bytes, out.data());
  }
  EXPECT_EQ(out, std::vector<uint8_t>(24, 7));
}

TEST(SamplePlanes, NeedsThemForFourPlanarFormatsOnly) {
  for (int format = -2; format < 20; ++format) {
    EXPECT_EQ(NeedsPlanes(format), format >= 5 && format <= 8) << format;
  }
  EXPECT_FALSE(NeedsPlanes(AV_SAMPLE_FMT_DBLP));
}

template <typename Sample>
bool AreUsualWith(Sample one, int format) {
  std::vector<Sample> samples(1001, Sample{1});
  samples[777] = one;
  return AreUsualSamples(reinterpret_cast<const uint8_t*>(samples.data()),
                         samples.size() * sizeof(Sample), format);
}

TEST(SamplePlanes, KnowsSamplesThatAreNoSound) {
  for (const int format : {AV_SAMPLE_FMT_FLT, AV_SAMPLE_FMT_FLTP}) {
    EXPECT_TRUE(AreUsualWith(-30.0F, format));
    EXPECT_FALSE(AreUsualWith(NAN, format));
    EXPECT_FALSE(AreUsualWith(-HUGE_VALF, format));
    EXPECT_FALSE(AreUsualWith(1e7F, format));
  }
  for (const int format : {AV_SAMPLE_FMT_DBL, AV_SAMPLE_FMT_DBLP}) {
    EXPECT_TRUE(AreUsualWith(-30.0, format));
    EXPECT_FALSE(AreUsualWith(double{NAN}, format));
    EXPECT_FALSE(AreUsualWith(HUGE_VAL, format));
  }
  // Any whole number is a sample.
  EXPECT_TRUE(AreUsualWith(NAN, AV_SAMPLE_FMT_S32));
}

}  // namespace
}  // namespace codec
