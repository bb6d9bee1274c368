// SPDX-License-Identifier: MIT
#include "codec/encoder/exact_sound.h"

#include <gtest/gtest.h>

#include <string>

namespace codec {
namespace {

TEST(ExactSound, IsPcmOfTheWidthOfTheSamples) {
  for (const char* const path : {"a.mov", "a.mkv", "a.avi"}) {
    EXPECT_EQ(ExactSoundEncoder(path, 8), "pcm_s16le") << path;
    EXPECT_EQ(ExactSoundEncoder(path, 16), "pcm_s16le") << path;
    EXPECT_EQ(ExactSoundEncoder(path, 24), "pcm_s24le") << path;
    EXPECT_EQ(ExactSoundEncoder(path, 32), "pcm_f32le") << path;
  }
}

// MP4 takes PCM in newer releases of FFmpeg only. A codec that compresses takes its place. FFmpeg 4
// knows of FLAC alone, which its MP4 then refuses as experimental.
TEST(ExactSound, IsAnotherCodecOrNothingElsewhere) {
  const std::string mp4 = ExactSoundEncoder("a.mp4", 16);
  EXPECT_TRUE(mp4 == "alac" || mp4 == "pcm_s16le" || mp4 == "pcm_s16be" || mp4 == "flac") << mp4;
  EXPECT_EQ(ExactSoundEncoder("a.ts", 16), "");
  EXPECT_EQ(ExactSoundEncoder("a.webm", 24), "");
}

}  // namespace
}  // namespace codec
