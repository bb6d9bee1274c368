// SPDX-License-Identifier: MIT
#include "reverse/frame_placement.h"

#include <gtest/gtest.h>

#include <vector>

#include "codec/decoder/ffmpeg_decoder.h"
#include "tests/reverse/mirror_fakes.h"

namespace codec {
namespace {

ReverseRange Range(double start, double end) {
  ReverseRange range;
  range.start = start;
  range.end = end;
  return range;
}

bool WritePicture(FramePlacement* placement, double seconds, uint8_t value = 0) {
  FrameBuffer frame;
  frame.Resize(1);
  frame.Data()[0] = value;
  frame.type = kVideoFrame;
  frame.size = 1;
  frame.pts = seconds;
  return placement->Write(&frame);
}

std::vector<int64_t> Stamps(const FakeSoundWriter& writer) {
  std::vector<int64_t> stamps;
  for (const FakeSoundWriter::Picture& picture : writer.pictures) stamps.push_back(picture.stamp);
  return stamps;
}

TEST(PlainPlacement, StampsWithTheDistanceFromTheEnd) {
  FakeSoundWriter writer;
  PlainPlacement placement(&writer, Range(1, 3));
  for (const double seconds : {3.0, 2.5, 1.0}) EXPECT_TRUE(WritePicture(&placement, seconds));
  EXPECT_FALSE(WritePicture(&placement, 0.5));
  EXPECT_FALSE(WritePicture(&placement, 3.5));
  EXPECT_EQ(Stamps(writer), (std::vector<int64_t>{0, 500000, 2000000}));
}

TEST(PlainPlacement, NeedsNoWriter) {
  PlainPlacement placement(nullptr, Range(1, 3));
  EXPECT_TRUE(WritePicture(&placement, 2));
}

// Each picture is shown from where its successor stood to where it stood itself.
TEST(MirrorPlacement, ShowsEachPictureForItsOwnTime) {
  FakeSoundWriter writer;
  MirrorPlacement placement(&writer, Range(0, 10), nullptr, 0);
  for (const double seconds : {9.5, 9.0, 3.25, 0.0}) WritePicture(&placement, seconds);
  EXPECT_EQ(Stamps(writer), (std::vector<int64_t>{0, 500000, 1000000, 6750000}));
}

TEST(MirrorPlacement, HoldsTheStartAndLeavesOutTheEnd) {
  FakeSoundWriter writer;
  MirrorPlacement placement(&writer, Range(1, 2), nullptr, 0);
  EXPECT_FALSE(WritePicture(&placement, 2));
  EXPECT_FALSE(WritePicture(&placement, 2 - 1e-7));
  EXPECT_TRUE(WritePicture(&placement, 1.5));
  EXPECT_TRUE(WritePicture(&placement, 1 - 1e-7));
  EXPECT_FALSE(WritePicture(&placement, 0.9));
  EXPECT_EQ(Stamps(writer), (std::vector<int64_t>{0, 500000}));
  EXPECT_EQ(placement.Timeless().timeless, 0) << "what is outside of the range is no loss";
}

TEST(MirrorPlacement, StampsHoursToTheMicrosecond) {
  FakeSoundWriter writer;
  constexpr double kEnd = 36000.04;
  MirrorPlacement placement(&writer, Range(0, kEnd), nullptr, 0);
  WritePicture(&placement, 36000.0);
  WritePicture(&placement, 1.0 / 3);
  WritePicture(&placement, 0);
  EXPECT_EQ(Stamps(writer), (std::vector<int64_t>{0, 40000, 35999706667}));
}

TEST(MirrorPlacement, WritesSoundBeforeThePictureThatItGoesWith) {
  FakeSound sound;
  sound.Add(0, std::vector<int>(100, 64));
  FakeSoundWriter writer;
  MirrorPlacement placement(&writer, Range(0, 5), &sound, FakeSound::kRate);
  for (double seconds = 4.75; seconds >= 4; seconds -= 0.25) WritePicture(&placement, seconds);
  placement.EndStep(4);
  for (const FakeSoundWriter::Picture& picture : writer.pictures) {
    EXPECT_GE(static_cast<double>(picture.samplesBefore) * 1000,
              static_cast<double>(picture.stamp));
  }
  // Of two empty steps, the sound goes on.
  placement.EndStep(3);
  EXPECT_GE(writer.samples.size(), 2000U);
  EXPECT_LT(writer.samples.size(), 3100U);
  WritePicture(&placement, 0.5);
  placement.EndStep(0);
  EXPECT_EQ(writer.samples.size(), 5000U);
}

TEST(MirrorPlacement, IgnoresBlocksAmongTheFrames) {
  FakeSoundWriter writer;
  MirrorPlacement placement(&writer, Range(0, 5), nullptr, 0);
  FrameBuffer frame;
  frame.Resize(8);
  frame.type = kAudioFrame;
  frame.size = 8;
  frame.pts = 2;
  EXPECT_FALSE(placement.Write(&frame));
  EXPECT_TRUE(writer.samples.empty());
}

}  // namespace
}  // namespace codec
