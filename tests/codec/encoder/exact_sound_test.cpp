// SPDX-License-Identifier: MIT
#include "codec/encoder/exact_sound.h"

#include <gtest/gtest.h>

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

// Without PCM a codec that compresses takes its place.
TEST(ExactSound, IsFlacOrNothingElsewhere) {
  EXPECT_EQ(ExactSoundEncoder("a.ogg", 16), "flac");
  EXPECT_EQ(ExactSoundEncoder("a.ts", 16), "");
  EXPECT_EQ(ExactSoundEncoder("a.webm", 24), "");
}

}  // namespace
}  // namespace codec
