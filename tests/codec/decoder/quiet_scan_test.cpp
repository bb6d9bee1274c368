// SPDX-License-Identifier: MIT
#include "codec/decoder/quiet_scan.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>

#include "codec/ffmpeg/owned.h"
#include "tests/codec/decoder/scanned_packets.h"

namespace codec {
namespace {

constexpr int64_t kNone = AV_NOPTS_VALUE;
constexpr double kShortest = 600;

// The first stream counts in seconds, the second one in milliseconds, the third one not at all.
class QuietScanTest : public testing::Test {
 protected:
  void SetUp() override {
    mFile.reset(avformat_alloc_context());
    for (const AVRational base : {AVRational{1, 1}, AVRational{1, 1000}, AVRational{1, 1}}) {
      avformat_new_stream(mFile.get(), nullptr)->time_base = base;
    }
  }

  double Quiet(std::vector<ScannedPacket> packets, double from, double to) {
    QuietScan scan;
    scan.Add(mFile->streams[0]);
    scan.Add(mFile->streams[1]);
    ScannedPackets source(std::move(packets));
    scan.Run(&source, mPacket.get());
    return scan.Seconds(from, to, kShortest);
  }

  ffmpeg::UniqueInput mFile;
  ffmpeg::UniquePacket mPacket{av_packet_alloc()};
};

TEST_F(QuietScanTest, CountsWhatLiesBetweenThePacketsOfAllStreams) {
  EXPECT_EQ(Quiet({{0, 30, 30, 1}, {1, 3660000, 3660000, 1}}, 0, 3700), 3600);
  EXPECT_EQ(Quiet({{0, 30, 30, 1}, {2, 1800, 1800, 1}, {0, 3660, 3660, 1}}, 0, 3700), 3600);
  EXPECT_EQ(Quiet({{0, 30, 30, 1}, {1, 1800000, 1800000, 1}, {0, 3660, 3660, 1}}, 0, 3700), 3540);
}

TEST_F(QuietScanTest, LeavesShortStretchesOut) {
  // Stretches of ten minutes, and of one minute less.
  EXPECT_EQ(Quiet({{0, 0, 0, 1}, {0, 660, 660, 1}}, 0, 700), 600);
  EXPECT_EQ(Quiet({{0, 0, 0, 1}, {0, 600, 600, 1}}, 0, 700), 0);
}

TEST_F(QuietScanTest, MindsTheRange) {
  const std::vector<ScannedPacket> packets = {{0, 0, 0, 1}, {0, 36000, 36000, 1}};
  EXPECT_EQ(Quiet(packets, 0, 36060), 35940);
  EXPECT_EQ(Quiet(packets, 1000, 3000), 2000);
  EXPECT_EQ(Quiet(packets, 35000, 36060), 1000);
  EXPECT_EQ(Quiet(packets, 35500, 36060), 0);
  // Before the first packet and after the last one is quiet too.
  EXPECT_EQ(Quiet(packets, -6000, 43260), 6000 + 35940 + 7200);
  EXPECT_EQ(Quiet({}, 0, 5000), 5000);
}

TEST_F(QuietScanTest, TakesStampsInAnyOrderAndNone) {
  EXPECT_EQ(Quiet({{0, 3660, 3660, 1}, {0, kNone, 30, 1}, {0, kNone, kNone, 1}}, 0, 3700), 3600);
}

TEST_F(QuietScanTest, SurvivesStampsBeyondAllNumbers) {
  constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
  EXPECT_EQ(Quiet({{0, 0, 0, 1}, {0, kMost, kMost, 1}, {0, -kMost, 0, 1}}, 0, 7260), 7200);
}

}  // namespace
}  // namespace codec
