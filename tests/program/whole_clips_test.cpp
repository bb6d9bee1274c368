// SPDX-License-Identifier: MIT
// Inputs that hardly tell when their pictures are shown: none of the pictures is left out.
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

struct WholeClip {
  const char* name;
  const char* suffix;
  const char* scene;
  const char* sound;  // its encoder, or null for none
  double seconds;
  const char* coding;

  friend void PrintTo(const WholeClip& clip, std::ostream* out) { *out << clip.name; }
};

constexpr char kScene[] = "testsrc2=size=320x180:rate=25";
constexpr char kSmallScene[] = "testsrc2=size=160x90:rate=25";
constexpr char kStill[] = "color=gray:size=160x90:rate=25";

const WholeClip kClips[] = {
    // The length is the time at which the last packet begins.
    {"Nut", "nut", kScene, nullptr, 2, "-c:v ffv1"},
    {"NutSound", "nut", kScene, "pcm_s16le", 2, "-c:v mpeg4"},
    {"NutReordered", "nut", kScene, nullptr, 2, "-c:v mpeg4 -bf 2"},
    // No stamps, so the first picture is at 0.04 s.
    {"Mpeg2Stream", "m2v", kScene, nullptr, 2, "-c:v mpeg2video -g 12"},
    {"Mpeg2StreamReordered", "m2v", kScene, nullptr, 2, "-c:v mpeg2video -g 12 -bf 2"},
    // The length is a guess by the bit rate.
    {"Mpeg1Stream", "m1v", kScene, nullptr, 2, "-c:v mpeg1video -g 12"},
    // No index has the first key picture.
    {"Mpeg4StreamReordered", "m4v", kScene, nullptr, 2, "-c:v mpeg4 -g 12 -bf 2"},
    // Several pictures share a stamp.
    {"Mpeg1", "mpg", kSmallScene, "mp2", 6,
     "-c:v mpeg1video -bf 0 -g 15 -b:v 200k -maxrate 200k -bufsize 200k"},
    {"Vob", "vob", kSmallScene, "ac3", 14,
     "-c:v mpeg2video -bf 2 -g 15 -b:v 200k -maxrate 200k -bufsize 200k"},
    {"StillVob", "vob", kStill, "ac3", 14, "-c:v mpeg2video -bf 2 -g 50"},
};

class WholeClips : public testing::TestWithParam<WholeClip> {};

std::string Make(const WholeClip& clip) {
  const std::string path = ScratchPath(std::string(clip.name) + "." + clip.suffix);
  std::vector<std::string> words = {"ffmpeg", "-v", "error", "-f", "lavfi", "-i", clip.scene};
  // The sound is shorter than the pictures, so that it says nothing of their end.
  if (clip.sound != nullptr) AppendWords("-f lavfi -i sine=duration=1.5:sample_rate=48000", &words);
  words.insert(words.end(), {"-t", std::to_string(clip.seconds)});
  AppendWords(clip.coding, &words);
  if (clip.sound != nullptr) words.insert(words.end(), {"-c:a", clip.sound});
  words.push_back(path);
  const CommandResult made = Run(words);
  EXPECT_EQ(made.status, 0) << made.err;
  return path;
}

// A checksum of each picture, in the order of their times.
std::vector<std::string> Checksums(const std::string& path) {
  const CommandResult decoded = Run({"ffmpeg", "-v", "error", "-i", path, "-map", "0:v",
                                     FrameTimingOption(), "passthrough", "-f", "framemd5", "-"});
  EXPECT_EQ(decoded.status, 0) << decoded.err;
  std::vector<std::string> sums;
  std::istringstream lines(decoded.out);
  for (std::string line; std::getline(lines, line);) {
    if (line[0] != '#') sums.push_back(line.substr(line.rfind(' ') + 1));
  }
  return sums;
}

TEST_P(WholeClips, LoseNoPicture) {
  const WholeClip& clip = GetParam();
  const std::string path = Make(clip);
  const std::string output = ScratchPath(std::string(clip.name) + ".mkv");
  const CommandResult result =
      RunProgram({"-i", path, "-o", output, "--strict", "--set", "video-codec=ffv1"});
  ASSERT_EQ(result.status, 0) << result.err;
  std::vector<std::string> expected = Checksums(path);
  ASSERT_EQ(static_cast<double>(expected.size()), clip.seconds * 25);
  std::reverse(expected.begin(), expected.end());
  EXPECT_EQ(Checksums(output), expected);
  const std::vector<double> times = VideoTimes(output);
  for (size_t i = 0; i < times.size(); ++i) {
    EXPECT_NEAR(times[i] - times[0], static_cast<double>(i) / 25, 1.1e-3) << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, WholeClips, testing::ValuesIn(kClips),
                         [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace
}  // namespace test_support
