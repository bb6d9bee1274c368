// SPDX-License-Identifier: MIT
// Sound of rates and layouts that the output cannot have as they are, against ffmpeg's conversion
// of the source.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"
#include "tests/support/reversal.h"

namespace test_support {
namespace {

std::string ClipOfRate(int rate) {
  return CustomClip(
      "rate_" + std::to_string(rate) + ".mkv",
      {"-f", "lavfi", "-i", SceneFilter(64, 64, "25"), "-f", "lavfi", "-i",
       SweepFilter(rate, "stereo"), "-t", "3", "-c:v", "libx264", "-c:a", "pcm_s16le"});
}

// The source's sound as ffmpeg brings it to a rate.
std::string ReferenceOf(const std::string& clip, const std::string& rate) {
  return CustomClip("reference_" + rate + "_" + ContainerFields(clip).at("nb_streams") +
                        std::to_string(std::hash<std::string>()(clip)) + ".wav",
                    {"-i", clip, "-vn", "-ar", rate, "-c:a", "pcm_f32le"});
}

TEST(SoundKinds, AreResampledToTheNearestRateOfTheEncoder) {
  constexpr std::pair<int, const char*> kRates[] = {
      {192000, "96000"}, {50000, "48000"}, {37800, "32000"}};
  for (const auto& [rate, written] : kRates) {
    const std::string input = ClipOfRate(rate);
    for (const char* name : {"out.mp4", "out.mkv", "out.ts"}) {
      const std::string output = ScratchPath(name);
      const CommandResult result = RunProgram({"-i", input, "-o", output, "-e", "2.5"});
      ASSERT_EQ(result.status, 0) << rate << name << result.err;
      const auto fields = StreamFields(output, "a");
      EXPECT_EQ(fields.at("sample_rate"), written) << name;
      EXPECT_NEAR(std::stod(fields.at("duration") == "N/A" ? ContainerFields(output).at("duration")
                                                           : fields.at("duration")),
                  2.5, 0.3)
          << rate << name;
      const SoundMatch match = CompareSound(ReferenceOf(input, written), output, 2.5);
      EXPECT_GE(match.peaks.size(), 5U) << rate << name;
      EXPECT_GE(match.Median(), 0.95) << rate << name;
      // MP4 alone tells players to leave out the frame that the encoder begins with.
      const double primed = std::string(name) == "out.mp4" ? 0 : -1;
      for (const double lag : match.lagFrames) EXPECT_NEAR(lag, primed, 0.1) << rate << name;
    }
  }
}

TEST(SoundKinds, OfARateThatTheEncoderDoesNotTakeAreRefusedByThePlainReversal) {
  const CommandResult result =
      RunProgram({"--plain", "-i", ClipOfRate(50000), "-o", ScratchPath("plain.mp4")});
  EXPECT_EQ(result.status, 255);
}

// Six channels at once near full scale, in step.
std::string LoudSurround(const std::string& name, const std::string& sound) {
  const std::string tone = "0.95*sin(2*PI*(200*t+30*t*t))";
  std::string channels = tone;
  for (int i = 1; i < 6; ++i) channels += "|" + tone;
  std::vector<std::string> words = {
      "-f", "lavfi", "-i",   SceneFilter(64, 64, "25"),
      "-f", "lavfi", "-i",   "aevalsrc=" + channels + ":s=48000:c=5.1",
      "-t", "3",     "-c:v", "libx264"};
  AppendWords(sound, &words);
  return CustomClip(name, words);
}

float Loudest(const std::vector<float>& samples) {
  float loudest = 0;
  for (const float sample : samples) loudest = std::max(loudest, std::abs(sample));
  return loudest;
}

TEST(SoundKinds, OfLoudSurroundAreMixedBelowFullScale) {
  const std::pair<const char*, const char*> kClips[] = {{"loud_surround.mkv", "-c:a pcm_s16le"},
                                                        {"loud_surround.mp4", "-c:a aac -b:a 640k"},
                                                        {"loud_surround.ts", "-c:a ac3 -b:a 640k"}};
  for (const auto& [name, sound] : kClips) {
    const std::string input = LoudSurround(name, sound);
    const std::string output = ScratchPath("loud.mp4");
    ASSERT_EQ(RunProgram({"-i", input, "-o", output}).status, 0) << name;
    const float expected = Loudest(DecodeStereo(CustomClip(
        std::string("mixed_") + name + ".wav",
        {"-i", input, "-vn", "-af",
         "pan=stereo|c0=0.41421*c0+0.29289*c2+0.29289*c4|c1=0.41421*c1+0.29289*c2+0.29289*c5",
         "-c:a", "pcm_f32le"})));
    EXPECT_NEAR(Loudest(DecodeStereo(output)), expected, 0.04F) << name;
    EXPECT_LT(expected, 1.0F) << name;
  }
}

}  // namespace
}  // namespace test_support
