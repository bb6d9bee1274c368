// SPDX-License-Identifier: MIT
#include "codec/encoder/container.h"

#include <gtest/gtest.h>

#include <string>

#include "codec/encoder/ffmpeg_encoder_impl.h"
#include "tests/codec/encoder/encoder_fixture.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace codec {
namespace {

// The first of H.264 and AAC that the container does not take; null if it takes both.
const char* FirstNotTaken(const char* path) {
  const char* const video = CodecNotTaken(path, "libx264");
  return video != nullptr ? video : CodecNotTaken(path, "aac");
}

TEST(Container, IsChosenByTheExtensionAndIsMpegWithoutOne) {
  EXPECT_STREQ(ChooseContainer("a.mkv")->name, "matroska");
  EXPECT_STREQ(ChooseContainer("a.unknown")->name, "mpeg");
  EXPECT_STREQ(ChooseContainer("")->name, "mpeg");
}

TEST(Container, TakesBothCodecsWhereReversalsAreKept) {
  for (const char* path : {"a.mp4", "a.mov", "a.mkv", "a.avi", "a.ts", "a.flv", "a.m4v"}) {
    EXPECT_EQ(FirstNotTaken(path), nullptr) << path;
  }
}

TEST(Container, NamesTheFirstCodecThatItDoesNotTake) {
  EXPECT_STREQ(FirstNotTaken("a.webm"), "H.264");
  EXPECT_STREQ(FirstNotTaken("a.aac"), "H.264");
  EXPECT_STREQ(FirstNotTaken("a.h264"), "AAC");
  EXPECT_STREQ(FirstNotTaken("a.gif"), "H.264");
  EXPECT_STREQ(FirstNotTaken("a.unknown"), "H.264");
}

// What a file tells its reader, asked of the muxer itself.
TEST(Container, TellsATurnWhereTheReaderIsToldOfIt) {
  using namespace encoder_test;
  for (const char* name : {"a.mp4", "a.mov", "a.m4v", "a.3gp", "a.3g2", "a.f4v", "a.mkv", "a.avi",
                           "a.ts", "a.m2ts", "a.flv", "a.mpg", "a.nut", "a.asf"}) {
    const std::string path = test_support::ScratchPath(name);
    MediaFormat format = VideoFormat(path);
    format.SetInt32("rotate", 90);
    FFmpegEncoderImpl encoder;
    ASSERT_EQ(Configure(&encoder, format), 0);
    ASSERT_EQ(encoder.Open(), 0);
    EXPECT_EQ(Feed(&encoder, 60), 0) << name;
    encoder.Close();
    const auto fields = test_support::StreamFields(path, "v");
    EXPECT_EQ(TellsRotation(path.c_str()), fields.find("rotation") != fields.end()) << name;
  }
}

}  // namespace
}  // namespace codec
