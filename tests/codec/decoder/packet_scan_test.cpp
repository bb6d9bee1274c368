// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <vector>

#include "codec/decoder/key_frame_scan.h"
#include "codec/decoder/packet_clock.h"
#include "codec/ffmpeg/owned.h"
#include "tests/codec/decoder/decoder_reading.h"
#include "tests/codec/decoder/scanned_packets.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

using test_support::LogCapture;

constexpr int64_t kNone = AV_NOPTS_VALUE;
constexpr char kNoStampText[] = "get_avpackt_pts error, pkt pts and dts both invalid, use 0";

ffmpeg::UniquePacket Stamped(int64_t pts, int64_t dts) {
  ffmpeg::UniquePacket packet(av_packet_alloc());
  packet->pts = pts;
  packet->dts = dts;
  return packet;
}

TEST(PacketClock, PrefersPtsThenDtsThenZero) {
  const LogCapture log;
  EXPECT_EQ(PacketTimestamp(Stamped(7, 3).get()), 7);
  EXPECT_EQ(PacketTimestamp(Stamped(kNone, 3).get()), 3);
  EXPECT_TRUE(log.Lines().empty());
}

TEST(PacketClock, TellsPacketsWithoutStamps) {
  const LogCapture log;
  EXPECT_EQ(StampOf(Stamped(7, 3).get()), 7);
  EXPECT_EQ(StampOf(Stamped(kNone, 3).get()), 3);
  EXPECT_EQ(StampOf(Stamped(kNone, kNone).get()), kNone);
  EXPECT_TRUE(log.Lines().empty());
}

TEST(PacketClock, TakesTheLengthOfAPictureForPacketsThatDoNotTellTheirs) {
  const ffmpeg::UniqueInput file(avformat_alloc_context());
  AVStream* const stream = avformat_new_stream(file.get(), nullptr);
  stream->time_base = {1, 90000};
  const ffmpeg::UniquePacket packet = Stamped(0, 0);
  EXPECT_EQ(LengthOf(packet.get(), stream, {1, 1000}), 0);
  stream->avg_frame_rate = {25, 1};
  EXPECT_EQ(LengthOf(packet.get(), stream, {1, 1000}), 40);
  packet->duration = 1800;
  EXPECT_EQ(LengthOf(packet.get(), stream, {1, 1000}), 20);
  EXPECT_EQ(LengthOf(packet.get(), stream, stream->time_base), 1800);
}

TEST(PacketClock, LogsEachPacketWithoutStampsUnderAnEmptyTag) {
  const LogCapture log;
  EXPECT_EQ(PacketTimestamp(Stamped(kNone, kNone).get()), 0);
  EXPECT_EQ(PacketTimestamp(Stamped(kNone, kNone).get()), 0);
  EXPECT_EQ(log.Count(kLogError, "", kNoStampText), 2);
}

TEST(PacketClock, KeepsPtsWhileItIsMissingNoMoreOftenThanDts) {
  PacketClock clock;
  EXPECT_EQ(clock.Choose(Stamped(7, 3).get()), 7);
  clock.Count(Stamped(kNone, kNone).get());
  EXPECT_EQ(clock.Choose(Stamped(7, 3).get()), 7);
  clock.Count(Stamped(kNone, 2).get());
  EXPECT_EQ(clock.InvalidPts(), 2);
  EXPECT_EQ(clock.InvalidDts(), 1);
  EXPECT_EQ(clock.Choose(Stamped(7, 3).get()), 3);
  EXPECT_EQ(clock.Choose(Stamped(7, kNone).get()), 7);
  EXPECT_EQ(clock.Choose(Stamped(kNone, kNone).get()), kNone);
  clock.Count(Stamped(5, kNone).get());
  EXPECT_EQ(clock.Choose(Stamped(7, 3).get()), 7);
}

class PacketScan : public ::testing::Test {
 protected:
  ffmpeg::UniquePacket mPacket{av_packet_alloc()};
  int64_t mFirst = kNone;
};

TEST_F(PacketScan, CountsThePacketsBetweenTwoKeyPackets) {
  ScannedPackets source({{1, 0, 0, 0, true, 50},
                         {0, 8, 6, 0, false, 70},
                         {0, 10, 7, 0, true, 90},
                         {0, 11, 8, 0, false},
                         {1, 0, 0, 0, true},
                         {0, 12, 9, 0, false},
                         {0, 13, 10, 0, true},
                         {0, 14, 11, 0, false}});
  KeyFrameScan scan(0);
  scan.Run(&source, mPacket.get(), &mFirst);
  EXPECT_EQ(scan.PacketsBetween(), 2);
  EXPECT_EQ(mFirst, 8);
  EXPECT_EQ(scan.FirstPosition(), 70);
  EXPECT_EQ(source.Count(), 7U);
}

TEST_F(PacketScan, GoesOnThroughAdjoiningKeyPackets) {
  ScannedPackets source(
      {{0, 0, 0, 0, true}, {0, 1, 1, 0, true}, {0, 2, 2, 0, false}, {0, 3, 3, 0, true}});
  KeyFrameScan scan(0);
  scan.Run(&source, mPacket.get(), &mFirst);
  EXPECT_EQ(scan.PacketsBetween(), 1);
}

TEST_F(PacketScan, FindsNothingWithASingleKeyPacket) {
  ScannedPackets source({{0, 0, 0, 0, true}, {0, 1, 1, 0, false}, {0, 2, 2, 0, false}});
  KeyFrameScan scan(0);
  scan.Run(&source, mPacket.get(), &mFirst);
  EXPECT_EQ(scan.PacketsBetween(), 0);
}

TEST_F(PacketScan, TakesZeroForAFirstPacketWithoutStamps) {
  ScannedPackets source({{0, kNone, kNone, 0, true}, {0, kNone, kNone, 0, false}});
  const LogCapture log;
  KeyFrameScan(0).Run(&source, mPacket.get(), &mFirst);
  EXPECT_EQ(mFirst, 0);
  EXPECT_EQ(log.Count(kLogError, "", kNoStampText), 1);
}

TEST_F(PacketScan, CallsThreeChangesOfDurationVariable) {
  ScannedPackets source({{0, 0, kNone, 10, true},
                         {0, 10, kNone, 20, false},
                         {1, 0, 0, 99, true},
                         {0, 30, kNone, 0, false},
                         {0, 40, kNone, 20, false},
                         {0, 60, kNone, 10, false},
                         {0, 70, kNone, 20, false},
                         {0, 90, kNone, 10, false}});
  const LogCapture log;
  VariableRateCheck check(0);
  check.Run(&source, mPacket.get(), &mFirst);
  EXPECT_TRUE(check.IsVariable());
  EXPECT_EQ(mFirst, 0);
  EXPECT_EQ(source.Count(), 7U);
  EXPECT_EQ(log.CountContaining(kLogVerbose, kDecoderTestTag, "checking VFR: pkt.duration "), 4);
  EXPECT_EQ(log.Count(kLogVerbose, kDecoderTestTag, "checking VFR: pkt.duration 10"), 2);
  EXPECT_TRUE(log.Has(kLogInfo, kDecoderTestTag, "meta.media.variable_frame_rate 1"));
}

TEST_F(PacketScan, CallsFewerChangesConstant) {
  std::vector<ScannedPacket> packets(40, ScannedPacket{0, 5, 5, 10, false});
  packets[0].isKey = true;
  packets[1].duration = 20;
  ScannedPackets source(packets);
  const LogCapture log;
  VariableRateCheck check(0);
  check.Run(&source, mPacket.get(), &mFirst);
  EXPECT_FALSE(check.IsVariable());
  EXPECT_EQ(source.Count(), 20U);
  EXPECT_EQ(log.CountContaining(kLogInfo, kDecoderTestTag, ""), 0);
}

TEST_F(PacketScan, TakesZeroForTheFirstStampOfAKeyPacketWithDts) {
  ScannedPackets source({{0, 50, 40, 0, false}, {0, 100, 90, 0, true}});
  const LogCapture log;
  VariableRateCheck(0).Run(&source, mPacket.get(), &mFirst);
  EXPECT_EQ(mFirst, 0);
  EXPECT_TRUE(log.Has(kLogDebug, kDecoderTestTag, "first_pts 100 dts 90 pts_dts_delta 10"));
}

TEST_F(PacketScan, TakesThePtsOfAKeyPacketWithoutDts) {
  ScannedPackets source({{0, 100, kNone, 0, true}});
  VariableRateCheck(0).Run(&source, mPacket.get(), &mFirst);
  EXPECT_EQ(mFirst, 100);
}

TEST_F(PacketScan, GivesUpTheRateCheckAfter500Packets) {
  ScannedPackets source(std::vector<ScannedPacket>(600, ScannedPacket{0, 5, 5, 10, false}));
  VariableRateCheck(0).Run(&source, mPacket.get(), &mFirst);
  EXPECT_EQ(source.Count(), 500U);
  EXPECT_EQ(mFirst, kNone);
}

}  // namespace
}  // namespace codec
