// SPDX-License-Identifier: MIT
#include "codec/decoder/length_scan.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <utility>

#include "codec/ffmpeg/owned.h"
#include "tests/codec/decoder/scanned_packets.h"

namespace codec {
namespace {

constexpr int64_t kNone = AV_NOPTS_VALUE;

class LengthScanTest : public testing::Test {
 protected:
  void SetUp() override {
    mFile.reset(avformat_alloc_context());
    for (const AVRational base : {AVRational{1, 10}, AVRational{1, 1000}, AVRational{1, 1}}) {
      avformat_new_stream(mFile.get(), nullptr)->time_base = base;
    }
  }

  // Of the first two streams.
  std::optional<double> EndOf(std::vector<ScannedPacket> packets) {
    const std::optional<ScannedLength> length = LengthOf(std::move(packets));
    if (!length.has_value()) return std::nullopt;
    return length->end;
  }

  std::optional<ScannedLength> LengthOf(std::vector<ScannedPacket> packets) {
    LengthScan scan;
    scan.Add(mFile->streams[0]);
    scan.Add(mFile->streams[1]);
    ScannedPackets source(std::move(packets));
    scan.Run(&source, mPacket.get());
    return scan.Length();
  }

  ffmpeg::UniqueInput mFile;
  ffmpeg::UniquePacket mPacket{av_packet_alloc()};
};

TEST_F(LengthScanTest, FindsTheLargestEndOfTheStreamsThatCount) {
  EXPECT_EQ(EndOf({}), std::nullopt);
  EXPECT_EQ(EndOf({{2, 0, 0, 9}}), std::nullopt);
  EXPECT_EQ(EndOf({{0, 30, 30, 5}, {0, 20, 31, 5}, {1, 100, 100, 20}, {2, 77, 77, 1}}), 3.5);
  EXPECT_EQ(EndOf({{0, 30, 30, 5}, {1, 5000, 5000, 20}}), 5.02);
  EXPECT_EQ(EndOf({{0, -30, -30, 5}}), -2.5);
}

TEST_F(LengthScanTest, TellsWhereThePacketBeginsThatIsShownLast) {
  const auto latest = [this](std::vector<ScannedPacket> packets) {
    return LengthOf(std::move(packets)).value().latest;
  };
  EXPECT_EQ(latest({{0, -30, -30, 5}}), -3);
  EXPECT_EQ(latest({{0, 30, 30, 5}, {0, 20, 31, 50}, {1, 1000, 1000, 20}}), 3);
  EXPECT_EQ(latest({{0, 30, 30, 5}, {1, 3200, 3200, 20}}), 3.2);
  EXPECT_EQ(latest({{0, 30, 30, 5}, {0, 40, 31, 5, false, -1, kHidden}}), 3);
}

TEST_F(LengthScanTest, TellsWhereThePictureBeginsThatIsShownLast) {
  const auto picture = [this](std::vector<ScannedPacket> packets) {
    return LengthOf(std::move(packets)).value().picture;
  };
  const double nobodyKnows = -std::numeric_limits<double>::infinity();
  EXPECT_EQ(picture({{0, 30, 30, 5}, {1, 3200, 3200, 20}}), nobodyKnows);
  mFile->streams[0]->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
  EXPECT_EQ(picture({{0, 30, 30, 5}, {0, 20, 31, 5}, {1, 3200, 3200, 20}}), 3);
  EXPECT_EQ(picture({{1, 3200, 3200, 20}}), nobodyKnows);
}

TEST_F(LengthScanTest, LetsPacketsWithoutStampsFollowEachOther) {
  EXPECT_EQ(EndOf({{0, kNone, 30, 5}}), 3.5);
  EXPECT_EQ(EndOf({{0, kNone, kNone, 5}, {1, 7, 7, 0}, {0, kNone, kNone, 5}}), 1);
  EXPECT_EQ(EndOf({{0, 30, kNone, 5}, {0, kNone, kNone, 5}}), 4);
}

TEST_F(LengthScanTest, TakesTheRateOfPacketsThatDoNotSayHowLongTheyLast) {
  EXPECT_EQ(EndOf({{0, 30, 30, 0}}), 3);
  mFile->streams[0]->avg_frame_rate = {5, 1};
  EXPECT_EQ(EndOf({{0, 30, 30, 0}}), 3.2);
}

TEST_F(LengthScanTest, LeavesOutWhatIsNotShown) {
  EXPECT_EQ(EndOf({{0, 30, 30, 5}, {0, 40, 31, 5, false, -1, kHidden}}), 3.5);
  EXPECT_EQ(EndOf({{0, 40, 31, 5, false, -1, kHidden}}), std::nullopt);
  EXPECT_EQ(EndOf({{0, 30, 30, 5, true, -1, kHidden}, {0, kNone, kNone, 5}}), 4);
}

TEST_F(LengthScanTest, TellsWhetherPicturesHaveStampsOfTheirOwn) {
  mFile->streams[0]->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
  mFile->streams[1]->codecpar->codec_type = AVMEDIA_TYPE_AUDIO;
  LengthScan scan;
  scan.Add(mFile->streams[0]);
  scan.Add(mFile->streams[1]);
  ScannedPackets stamped({{0, 30, 30, 5}, {1, kNone, 30, 5}, {2, kNone, 30, 5}});
  scan.Run(&stamped, mPacket.get());
  EXPECT_FALSE(scan.Length()->lacksTimes);
  ScannedPackets unstamped({{0, kNone, 30, 5}});
  scan.Run(&unstamped, mPacket.get());
  EXPECT_TRUE(scan.Length()->lacksTimes);
}

TEST_F(LengthScanTest, SurvivesStampsBeyondAllNumbers) {
  constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
  EXPECT_EQ(EndOf({{0, kMost - 3, 0, 100}}), static_cast<double>(kMost) / 10);
}

}  // namespace
}  // namespace codec
