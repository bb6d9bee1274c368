// SPDX-License-Identifier: MIT
#include "codec/decoder/length_check.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/codec/decoder/decoder_reading.h"
#include "tests/support/clips.h"

namespace codec {
namespace {

using test_support::Clip;
using test_support::ClipKind;
using test_support::CustomClip;

DecoderOptions Checking() {
  DecoderOptions options;
  options.additions.scansLength = true;
  return options;
}

// Two seconds; those of Matroska lie in its header as eight bytes of milliseconds.
std::string Matroska() {
  return CustomClip("length_check.mkv",
                    {"-f", "lavfi", "-i", test_support::SceneFilter(320, 180, "25"), "-t", "2",
                     "-c:v", "libx264", "-g", "12", "-bf", "2"});
}
const std::string kKey("\x44\x89\x88", 3);
const std::string kTwoSeconds("\x40\x9f\x40\0\0\0\0\0", 8);
const std::string kUpToTheLast("\x40\x9e\xa0\0\0\0\0\0", 8);  // 1960

std::vector<double> FirstTimes(DecoderReader* reader) {
  std::vector<double> times;
  ReadFrame frame;
  while (times.size() < 12 && reader->Receive(&frame)) times.push_back(frame.pts);
  return times;
}

TEST(LengthCheck, LeavesOrdinaryClipsAsTheyAre) {
  for (const std::string& clip :
       {Clip(ClipKind::kH264Short), Clip(ClipKind::kVp9), Clip(ClipKind::kTransport), Matroska()}) {
    DecoderReader plain(clip);
    DecoderReader checked(clip, Checking());
    // FFmpeg 4 makes MP4 that tell 22 ms too much.
    EXPECT_NEAR(checked.Info().duration, plain.Info().duration, 0.03) << clip;
    const std::vector<double> times = FirstTimes(&checked);
    EXPECT_EQ(times.size(), 12U) << clip;
    EXPECT_EQ(times, FirstTimes(&plain)) << clip;
  }
}

TEST(LengthCheck, FindsThePictureThatBeginsWhenTheLengthIsOver) {
  const std::string clip = test_support::ReplacedCopy(Matroska(), kKey + kTwoSeconds,
                                                      kKey + kUpToTheLast, "length_check_cut.mkv");
  DecoderReader plain(clip);
  EXPECT_NEAR(plain.Info().duration, 1.96, 1e-3);
  DecoderReader checked(clip, Checking());
  EXPECT_NEAR(checked.Info().duration, 2, 1e-3);
  EXPECT_EQ(FirstTimes(&checked), FirstTimes(&plain));
}

}  // namespace
}  // namespace codec
