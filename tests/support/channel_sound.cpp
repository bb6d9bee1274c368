// SPDX-License-Identifier: MIT
#include "tests/support/channel_sound.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "tests/support/command.h"

namespace test_support {
namespace {

// How alike a channel of the mirror and one of the output are in the middle, at any shift that an
// encoder makes; 1 for equal ones.
double Likeness(const std::vector<float>& mirror, const std::vector<float>& sound, size_t channels,
                size_t ofMirror, size_t ofSound) {
  constexpr int kMostLate = 2400;
  const auto count = static_cast<int>(std::min(mirror.size(), sound.size()) / channels);
  double best = 0;
  for (int late = -kMostLate; late <= kMostLate; late += 3) {
    double both = 0;
    double a = 0;
    double b = 0;
    for (int i = std::max(count / 3, -late); i < std::min(count * 2 / 3, count - late); ++i) {
      const double x = mirror[static_cast<size_t>(i) * channels + ofMirror];
      const double y = sound[static_cast<size_t>(i + late) * channels + ofSound];
      both += x * y;
      a += x * x;
      b += y * y;
    }
    best = std::max(best, both / std::sqrt(a * b + 1e-9));
  }
  return best;
}

}  // namespace

std::string ChannelTone(int channel) {
  const int pitch = channel == 3 ? 60 : 300 + 200 * channel;
  return "0.3*sin(" + std::to_string(pitch) + "*(6+t)*t)";
}

std::vector<float> DecodeChannels(const std::string& path, const std::string& filter) {
  const std::string bytes =
      Run({"ffmpeg", "-v", "error", "-i", path, "-map", "0:a:0", "-af", filter, "-f", "f32le", "-"})
          .out;
  std::vector<float> samples(bytes.size() / sizeof(float));
  std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
  return samples;
}

void ExpectEachChannelReversed(const std::string& source, const std::string& output,
                               size_t channels, bool isLossless) {
  const std::vector<float> mirror = DecodeChannels(source, "areverse");
  const std::vector<float> sound = DecodeChannels(output);
  if (isLossless) {
    EXPECT_TRUE(sound == mirror) << sound.size() << " of " << mirror.size();
    return;
  }
  for (size_t a = 0; a < channels; ++a) {
    for (size_t b = 0; b < channels; ++b) {
      const double alike = Likeness(mirror, sound, channels, a, b);
      EXPECT_TRUE(a == b ? alike > 0.9 : alike < 0.7) << a << " " << b << " " << alike;
    }
  }
}

}  // namespace test_support
