// SPDX-License-Identifier: MIT
// Clips whose pictures are seconds apart: most steps of the walk meet sound alone.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

constexpr int kPictures = 5;
constexpr int kDistance = 75;  // pictures of the scene between two of the clip
constexpr double kSeconds = 15;

// One picture every three seconds, beside sound without a gap.
std::string SlowClip(const std::string& name, const std::vector<std::string>& coding) {
  std::vector<std::string> words = {
      "-f",
      "lavfi",
      "-i",
      SceneFilter(640, 360, "25") + ",select='not(mod(n," + std::to_string(kDistance) + "))'",
      "-f",
      "lavfi",
      "-i",
      SweepFilter(48000, "stereo"),
      "-t",
      std::to_string(kSeconds),
      FrameTimingOption(),
      "passthrough",
      "-pix_fmt",
      "yuv420p",
      "-g",
      "4",
      "-c:a",
      "aac"};
  words.insert(words.end(), coding.begin(), coding.end());
  return CustomClip(name, words);
}

// Without a look-ahead, which would put the sound of many seconds in front of the first picture.
const std::vector<std::string> kH264 = {"-c:v",     "libx264", "-preset",
                                        "veryfast", "-tune",   "zerolatency"};

class SlowClips : public testing::TestWithParam<const char*> {};

TEST_P(SlowClips, GiveAllTheirPicturesNewestFirstAndAllTheirSound) {
  const std::string container = GetParam();
  const std::string input =
      SlowClip("slow." + container,
               container == "avi" ? std::vector<std::string>{"-c:v", "mpeg4", "-q:v", "2"} : kH264);
  const std::string output = ScratchPath("slow_" + container + ".mp4");
  const CommandResult result = RunProgram({"-i", input, "-o", output});
  ASSERT_EQ(result.status, 0) << result.err;
  std::vector<int> numbers;
  for (const Picture& picture : DecodeLuma(output)) numbers.push_back(ReadFrameNumber(picture));
  std::vector<int> expected;
  for (int i = kPictures; i-- > 0;) expected.push_back(i * kDistance);
  EXPECT_EQ(numbers, expected);
  const std::vector<double> times = VideoTimes(output);
  // The last picture of the clip, now the first, is shown up to the end of the sound, which begins
  // and ends two frames of AAC earlier than the pictures in MPEG-TS.
  for (size_t i = 1; i < times.size(); ++i) {
    EXPECT_NEAR(times[i] - times[i - 1], 3, i == 1 ? 0.1 : 0.05);
  }
  const double sound = static_cast<double>(DecodeStereo(output).size()) / 2 / 48000;
  EXPECT_NEAR(sound, kSeconds, 0.15);
}

INSTANTIATE_TEST_SUITE_P(Containers, SlowClips, testing::Values("mkv", "ts", "flv", "avi"),
                         [](const auto& one) { return std::string(one.param); });

TEST(SoundAlone, IsNoReversal) {
  const std::string input = CustomClip(
      "sound_behind.mp4", {"-f", "lavfi", "-i", SceneFilter(160, 96, "25") + ",trim=duration=1",
                           "-f", "lavfi", "-i", SweepFilter(48000, "stereo"), "-t", "6", "-c:v",
                           "libx264", "-preset", "veryfast", "-pix_fmt", "yuv420p", "-c:a", "aac"});
  const std::string output = ScratchPath("sound_alone.mp4");
  const CommandResult result = RunProgram({"-i", input, "-o", output, "-s", "3", "-e", "5"});
  EXPECT_EQ(result.status, 255);
  EXPECT_NE(result.err.find("no picture could be read from 3.000 to 5.000"), std::string::npos)
      << result.err;
  EXPECT_FALSE(std::filesystem::exists(output));
}

// The only picture of this second is the one that its seek uses up.
TEST(OnePictureASecond, GivesASecondOfSoundWithoutBlamingTheClip) {
  const std::string output = ScratchPath("one_a_second_reversed.mp4");
  const auto reverse = [&output](const std::string& name, std::vector<std::string> sound) {
    std::vector<std::string> words = {"-f", "lavfi", "-i", SceneFilter(160, 96, "1")};
    words.insert(words.end(), sound.begin(), sound.end());
    words.insert(words.end(), {"-t", "20", "-c:v", "libx264", "-preset", "veryfast", "-g", "5",
                               "-pix_fmt", "yuv420p", "-c:a", "aac"});
    return RunProgram(
        {"--plain", "-i", CustomClip(name, words), "-o", output, "-s", "10", "-e", "11"});
  };
  const CommandResult heard =
      reverse("one_a_second.mp4", {"-f", "lavfi", "-i", SweepFilter(48000, "stereo")});
  EXPECT_EQ(heard.status, 0) << heard.err;
  EXPECT_NEAR(static_cast<double>(DecodeStereo(output).size()) / 2 / 48000, 1, 0.1);
  const CommandResult mute = reverse("one_a_second_mute.mp4", {});
  EXPECT_EQ(mute.status, 255);
  EXPECT_NE(mute.err.find("begin a little earlier with -s"), std::string::npos) << mute.err;
  for (const CommandResult& result : {heard, mute}) {
    EXPECT_EQ(result.err.find("damaged"), std::string::npos) << result.err;
  }
}

// Where the container tells that there is less than a picture a second, nothing can be derived from
// it.
TEST(SlowClipRate, BelowOneIsRefusedByThePlainReversal) {
  const std::string output = ScratchPath("slow_rate.mp4");
  const CommandResult result =
      RunProgram({"--plain", "-i", SlowClip("slow.mp4", kH264), "-o", output});
  EXPECT_EQ(result.status, 255);
  EXPECT_NE(result.err.find("error fps:0"), std::string::npos) << result.err;
}

TEST(SlowClipRate, BelowOneIsMirrored) {
  const std::string output = ScratchPath("slow_rate_mirrored.mp4");
  const CommandResult result = RunProgram({"-i", SlowClip("slow.mp4", kH264), "-o", output});
  EXPECT_EQ(result.status, 0) << result.err;
  const std::vector<double> times = VideoTimes(output);
  ASSERT_EQ(times.size(), static_cast<size_t>(kPictures));
  for (size_t i = 0; i < times.size(); ++i)
    EXPECT_NEAR(times[i], 3.0 * static_cast<double>(i), 0.05);
}

}  // namespace
}  // namespace test_support
