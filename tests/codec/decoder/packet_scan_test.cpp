// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <vector>

#include "codec/decoder/key_frame_scan.h"
#include "codec/decoder/packet_clock.h"
#include "codec/ffmpeg/owned.h"
#include "tests/codec/decoder/decoder_reading.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

using test_support::LogCapture;

constexpr int64_t kNone = AV_NOPTS_VALUE;
constexpr char kNoStampText[] = "get_avpackt_pts error, pkt pts and dts both invalid, use 0";

struct FakePacket {
  int stream;
  int64_t pts;
  int64_t dts;
  bool key;
  int64_t duration = 0;
};

class FakeSource : public PacketSource {
 public:
  explicit FakeSource(std::vector<FakePacket> packets) : mPackets(std::move(packets)) {}
  bool Read(AVPacket* packet) override {
    if (mNext == mPackets.size()) return false;
    const FakePacket& fake = mPackets[mNext++];
    packet->stream_index = fake.stream;
    packet->pts = fake.pts;
    packet->dts = fake.dts;
    packet->duration = fake.duration;
    packet->flags = fake.key ? AV_PKT_FLAG_KEY : 0;
    return true;
  }
  size_t Count() const { return mNext; }

 private:
  std::vector<FakePacket> mPackets;
  size_t mNext = 0;
};

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
  FakeSource source({{1, 0, 0, true},
                     {0, 8, 6, false},
                     {0, 10, 7, true},
                     {0, 11, 8, false},
                     {1, 0, 0, true},
                     {0, 12, 9, false},
                     {0, 13, 10, true},
                     {0, 14, 11, false}});
  KeyFrameScan scan(0);
  scan.Run(&source, mPacket.get(), &mFirst);
  EXPECT_EQ(scan.PacketsBetween(), 2);
  EXPECT_EQ(mFirst, 8);
  EXPECT_EQ(source.Count(), 7U);
}

TEST_F(PacketScan, GoesOnThroughAdjoiningKeyPackets) {
  FakeSource source({{0, 0, 0, true}, {0, 1, 1, true}, {0, 2, 2, false}, {0, 3, 3, true}});
  KeyFrameScan scan(0);
  scan.Run(&source, mPacket.get(), &mFirst);
  EXPECT_EQ(scan.PacketsBetween(), 1);
}

TEST_F(PacketScan, FindsNothingWithASingleKeyPacket) {
  FakeSource source({{0, 0, 0, true}, {0, 1, 1, false}, {0, 2, 2, false}});
  KeyFrameScan scan(0);
  scan.Run(&source, mPacket.get(), &mFirst);
  EXPECT_EQ(scan.PacketsBetween(), 0);
}

TEST_F(PacketScan, TakesZeroForAFirstPacketWithoutStamps) {
  FakeSource source({{0, kNone, kNone, true}, {0, kNone, kNone, false}});
  const LogCapture log;
  KeyFrameScan(0).Run(&source, mPacket.get(), &mFirst);
  EXPECT_EQ(mFirst, 0);
  EXPECT_EQ(log.Count(kLogError, "", kNoStampText), 1);
}

TEST_F(PacketScan, CallsThreeChangesOfDurationVariable) {
  FakeSource source({{0, 0, kNone, true, 10},
                     {0, 10, kNone, false, 20},
                     {1, 0, 0, true, 99},
                     {0, 30, kNone, false, 0},
                     {0, 40, kNone, false, 20},
                     {0, 60, kNone, false, 10},
                     {0, 70, kNone, false, 20},
                     {0, 90, kNone, false, 10}});
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
  std::vector<FakePacket> packets(40, FakePacket{0, 5, 5, false, 10});
  packets[0].key = true;
  packets[1].duration = 20;
  FakeSource source(packets);
  const LogCapture log;
  VariableRateCheck check(0);
  check.Run(&source, mPacket.get(), &mFirst);
  EXPECT_FALSE(check.IsVariable());
  EXPECT_EQ(source.Count(), 20U);
  EXPECT_EQ(log.CountContaining(kLogInfo, kDecoderTestTag, ""), 0);
}

TEST_F(PacketScan, TakesZeroForTheFirstStampOfAKeyPacketWithDts) {
  FakeSource source({{0, 50, 40, false}, {0, 100, 90, true}});
  const LogCapture log;
  VariableRateCheck(0).Run(&source, mPacket.get(), &mFirst);
  EXPECT_EQ(mFirst, 0);
  EXPECT_TRUE(log.Has(kLogDebug, kDecoderTestTag, "first_pts 100 dts 90 pts_dts_delta 10"));
}

TEST_F(PacketScan, TakesThePtsOfAKeyPacketWithoutDts) {
  FakeSource source({{0, 100, kNone, true}});
  VariableRateCheck(0).Run(&source, mPacket.get(), &mFirst);
  EXPECT_EQ(mFirst, 100);
}

TEST_F(PacketScan, GivesUpTheRateCheckAfter500Packets) {
  FakeSource source(std::vector<FakePacket>(600, FakePacket{0, 5, 5, false, 10}));
  VariableRateCheck(0).Run(&source, mPacket.get(), &mFirst);
  EXPECT_EQ(source.Count(), 500U);
  EXPECT_EQ(mFirst, kNone);
}

}  // namespace
}  // namespace codec
