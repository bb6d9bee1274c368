// SPDX-License-Identifier: MIT
#include "codec/utils/image_utils.h"

#include <gtest/gtest.h>

#include <climits>
#include <fstream>

#include "codec/ffmpeg/ffmpeg_headers.h"
#include "codec/utils/working_buffer.h"
#include "tests/support/command.h"

namespace codec {
namespace {

TEST(FrameSize, FollowsTheFormatName) {
  EXPECT_EQ(FrameSize(1280, 720, "bgra"), 3686400);
  EXPECT_EQ(FrameSize(1280, 720, "rgba"), 3686400);
  EXPECT_EQ(FrameSize(1280, 720, "gray"), 3686400);
  for (const char* name : {"yuv420p", "nv12", "nv21", "yuv420psp", "yv12", "842094169", "17"}) {
    EXPECT_EQ(FrameSize(1280, 720, name), 1382400) << name;
  }
  for (const char* name : {"rgb24", "bgr24"}) EXPECT_EQ(FrameSize(1280, 720, name), 2764800);
  for (const char* name : {"bgr4_byte", "rgb4_byte", "rgb8"}) {
    EXPECT_EQ(FrameSize(1280, 720, name), 921600) << name;
  }
  EXPECT_EQ(FrameSize(1280, 720, "YUV420P"), 3686400);
}

TEST(FrameSize, RoundsTowardZero) {
  EXPECT_EQ(FrameSize(5, 5, "yuv420p"), 37);
  EXPECT_EQ(FrameSize(1, 1, "nv12"), 1);
  EXPECT_EQ(FrameSize(-1, 3, "yuv420p"), -4);
}

TEST(FrameSize, RefusesWhatDoesNotFitAnInt) {
  EXPECT_EQ(FrameSize(16384, 16384, "yuv420p"), 402653184);
  EXPECT_EQ(FrameSize(32768, 32768, "rgba"), -1);
  EXPECT_EQ(FrameSize(INT_MAX, INT_MAX, "yuv420p"), -1);
  EXPECT_EQ(FrameSize(INT_MIN, INT_MIN, "yuv420p"), -1);
}

TEST(BytesPerSample, KnowsPackedAndPlanarFormatsButNoOthers) {
  const int bytes[] = {1, 2, 4, 4, 8, 1, 2, 4, 4, 8, 0, 0, 0};
  for (int format = 0; format < 13; ++format) EXPECT_EQ(BytesPerSample(format), bytes[format]);
  EXPECT_EQ(BytesPerSample(-1), 0);
  EXPECT_EQ(BytesPerSample(1000), 0);
}

TEST(AudioBufferSize, MultipliesBytesChannelsAndSamples) {
  EXPECT_EQ(AudioBufferSize(1024, 2, AV_SAMPLE_FMT_S16), 4096);
  EXPECT_EQ(AudioBufferSize(10, 1, AV_SAMPLE_FMT_U8P), 10);
  EXPECT_EQ(AudioBufferSize(10, 2, AV_SAMPLE_FMT_FLTP), 80);
  EXPECT_EQ(AudioBufferSize(10, 2, AV_SAMPLE_FMT_S32), 80);
  EXPECT_EQ(AudioBufferSize(10, 2, AV_SAMPLE_FMT_DBL), 160);
}

TEST(AudioBufferSize, IsMinusOneForWhatItCannotSay) {
  EXPECT_EQ(AudioBufferSize(1024, 2, 99), -1);
  EXPECT_EQ(AudioBufferSize(1024, 2, AV_SAMPLE_FMT_S64), -1);
  EXPECT_EQ(AudioBufferSize(1024, 2, AV_SAMPLE_FMT_NONE), -1);
  EXPECT_EQ(AudioBufferSize(0, 2, AV_SAMPLE_FMT_S16), -1);
  EXPECT_EQ(AudioBufferSize(1024, 0, AV_SAMPLE_FMT_S16), -1);
  EXPECT_EQ(AudioBufferSize(INT_MAX, INT_MAX, AV_SAMPLE_FMT_DBL), -1);
}

TEST(ScaledSize, TruncatesAndRoundsDownToTheMultiple) {
  int width = 0;
  int height = 0;
  EXPECT_EQ(ScaledSize(401, 201, 0.55F, 2, &width, &height), 0);
  EXPECT_EQ(width, 220);
  EXPECT_EQ(height, 110);
  EXPECT_EQ(ScaledSize(7, 7, 1.0F, 4, &width, &height), 0);
  EXPECT_EQ(width, 4);
}

TEST(ScaledSize, RefusesMissingOutputsAndStaysInRange) {
  int side = 0;
  EXPECT_EQ(ScaledSize(1, 1, 1.0F, 2, nullptr, &side), -1);
  EXPECT_EQ(ScaledSize(1, 1, 1.0F, 2, &side, nullptr), -1);
  EXPECT_EQ(ScaledSize(1, 1, 1.0F, 0, &side, &side), -1);
  int other = 0;
  EXPECT_EQ(ScaledSize(INT_MAX, -INT_MAX, 1e9F, 1, &side, &other), 0);
  EXPECT_EQ(side, INT_MAX);
  EXPECT_EQ(other, INT_MIN);
}

TEST(SmallHelpers, TellFilesNumbersAndIniTexts) {
  const std::string path = test_support::ScratchPath("settings.ini");
  EXPECT_FALSE(FileExists(path.c_str()));
  std::ofstream(path) << "[encoder]\nprofile=high\n";
  EXPECT_TRUE(FileExists(path.c_str()));
  EXPECT_EQ(ReadIniText(path.c_str(), "encoder", "profile", "main"), "high");
  EXPECT_EQ(ReadIniText(path.c_str(), "encoder", "level", "4.1"), "4.1");
  EXPECT_EQ(ReadIniText("/nowhere", "encoder", "level", "x"), "x");
  EXPECT_EQ(IntToText(-120), "-120");
  EXPECT_EQ(IntToText(1000000), "1000000");
}

TEST(WorkingBuffer, KeepsItsStartAndClearsTheRest) {
  WorkingBuffer buffer;
  EXPECT_EQ(buffer.Data(), nullptr);
  ASSERT_TRUE(buffer.Resize(2));
  buffer.Data()[0] = 7;
  ASSERT_TRUE(buffer.Resize(4));
  EXPECT_EQ(buffer.Data()[0], 7);
  EXPECT_EQ(buffer.Data()[3], 0);
  EXPECT_FALSE(buffer.Resize(-1));
  EXPECT_FALSE(buffer.Resize(int64_t{1} << 40));
  EXPECT_EQ(buffer.Size(), 4);
  ASSERT_TRUE(buffer.Resize(0));
  EXPECT_TRUE(buffer.Empty());
}

}  // namespace
}  // namespace codec
