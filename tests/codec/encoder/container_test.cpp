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
    EXPECT_EQ(CodecsNotTaken(path), nullptr) << path;
  }
}

TEST(Container, NamesTheCodecsThatItDoesNotTake) {
  EXPECT_STREQ(CodecsNotTaken("a.webm"), "H.264 and AAC");
  EXPECT_STREQ(CodecsNotTaken("a.aac"), "H.264");
  EXPECT_STREQ(CodecsNotTaken("a.h264"), "AAC");
  EXPECT_STREQ(CodecsNotTaken("a.gif"), "H.264 and AAC");
  EXPECT_STREQ(CodecsNotTaken("a.unknown"), "H.264 and AAC");
}

}  // namespace
}  // namespace codec
