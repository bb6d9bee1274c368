#include "codec/encoder/container.h"

#include <gtest/gtest.h>

namespace codec {
namespace {

TEST(Container, IsChosenByTheExtensionAndIsMpegWithoutOne) {
  EXPECT_STREQ(ChooseContainer("a.mkv")->name, "matroska");
  EXPECT_STREQ(ChooseContainer("a.unknown")->name, "mpeg");
  EXPECT_STREQ(ChooseContainer("")->name, "mpeg");
}

TEST(Container, TakesBothCodecsWhereReversalsAreKept) {
  for (const char* path : {"a.mp4", "a.mov", "a.mkv", "a.avi", "a.ts", "a.flv", "a.m4v"}) {
    EXPECT_EQ(CodecNotTaken(path), nullptr) << path;
  }
}

TEST(Container, NamesTheFirstCodecThatItDoesNotTake) {
  EXPECT_STREQ(CodecNotTaken("a.webm"), "H.264");
  EXPECT_STREQ(CodecNotTaken("a.aac"), "H.264");
  EXPECT_STREQ(CodecNotTaken("a.h264"), "AAC");
  EXPECT_STREQ(CodecNotTaken("a.gif"), "H.264");
  EXPECT_STREQ(CodecNotTaken("a.unknown"), "H.264");
}

}  // namespace
}  // namespace codec
