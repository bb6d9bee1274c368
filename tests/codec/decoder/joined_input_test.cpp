// SPDX-License-Identifier: MIT
// Reading a file of several parts as one.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "codec/decoder/input_file.h"
#include "codec/decoder/part_scan.h"
#include "codec/ffmpeg/owned.h"
#include "tests/support/joined_clips.h"

namespace codec {
namespace {

using test_support::JoinedClip;
using test_support::JoinedCoding;

struct Seen {
  int64_t pts;
  int64_t position;
  int size;
  bool isKey;
  friend bool operator==(const Seen& a, const Seen& b) {
    return a.pts == b.pts && a.position == b.position && a.size == b.size && a.isKey == b.isKey;
  }
};

class JoinedInputTest : public testing::TestWithParam<JoinedCoding> {
 protected:
  void SetUp() override {
    const std::string name = "input" + std::to_string(static_cast<int>(GetParam()));
    const JoinedClip clip =
        test_support::JoinRecordings(name, GetParam(), {{0, 60, 4000}, {60, 60, 0}, {120, 60, 0}});
    PartScan scan(0, 1);
    ASSERT_EQ(scan.Run(clip.path, false), 0);
    mParts = scan.Parts();
    ASSERT_NE(mParts, nullptr);
    ASSERT_EQ(mParts->Count(), 3U);
    ASSERT_EQ(mInput.Open(clip.path), 0);
    mInput.Join(mParts);
  }

  // The next packets of a stream, up to so many.
  std::vector<Seen> Read(int stream, size_t most) {
    std::vector<Seen> seen;
    const ffmpeg::UniquePacket packet(av_packet_alloc());
    while (seen.size() < most && mInput.Read(packet.get())) {
      const ffmpeg::PacketGuard guard(packet.get());
      if (packet->stream_index != stream) continue;
      const bool isKey = (packet->flags & AV_PKT_FLAG_KEY) != 0;
      seen.push_back({packet->pts, packet->pos, packet->size, isKey});
    }
    return seen;
  }

  InputFile mInput;
  std::shared_ptr<const JoinedParts> mParts;
};

TEST_P(JoinedInputTest, GivesStampsThatRunThrough) {
  for (const int stream : {0, 1}) {
    ASSERT_GE(mInput.SeekToStart(INT64_MIN), 0);
    int64_t last = AV_NOPTS_VALUE;
    for (const Seen& seen : Read(stream, SIZE_MAX)) {
      if (seen.pts == AV_NOPTS_VALUE) continue;
      // 90 kHz: neither a gap nor a step back larger than pictures are reordered.
      if (last == AV_NOPTS_VALUE) last = seen.pts;
      EXPECT_NEAR(static_cast<double>(seen.pts - last), 0, 18000);
      last = seen.pts;
    }
  }
}

// Wherever reading begins, it goes on with the packets, to the byte, that reading from the start
// meets there.
TEST_P(JoinedInputTest, GoesOnAfterASeekAsIfItHadReadToThere) {
  constexpr int64_t kStep = 9000;
  constexpr size_t kCompared = 6;
  for (const int stream : {0, 1}) {
    ASSERT_GE(mInput.SeekToStart(INT64_MIN), 0);
    const std::vector<Seen> all = Read(stream, SIZE_MAX);
    const int64_t end = mParts->End().value() * 9 / 100;
    for (int64_t wanted = all.front().pts; wanted < end + kStep; wanted += kStep) {
      ASSERT_GE(mInput.SeekBackward(stream, wanted), 0);
      const std::vector<Seen> seen = Read(stream, kCompared);
      ASSERT_FALSE(seen.empty());
      EXPECT_TRUE(seen.front().isKey);
      EXPECT_LE(seen.front().pts, wanted);
      EXPECT_GT(seen.front().pts, wanted - 90000 - kStep);
      const auto same = std::find(all.begin(), all.end(), seen.front());
      ASSERT_NE(same, all.end()) << wanted;
      for (size_t i = 0; i < seen.size(); ++i) {
        ASSERT_NE(same + static_cast<long>(i), all.end());
        EXPECT_EQ(seen[i].pts, same[static_cast<long>(i)].pts) << wanted << ' ' << i;
        EXPECT_EQ(seen[i].size, same[static_cast<long>(i)].size) << wanted << ' ' << i;
      }
    }
  }
}

TEST_P(JoinedInputTest, FindsItsStartBeforeAllTimes) {
  ASSERT_GE(mInput.SeekToStart(INT64_MIN), 0);
  const std::vector<Seen> first = Read(1, 3);
  for (const int64_t before : {int64_t{0}, first.front().pts - 1}) {
    ASSERT_GE(mInput.SeekBackward(1, before), 0);
    EXPECT_EQ(Read(1, 3), first);
  }
  ASSERT_GE(mInput.SeekBackward(-1, 0), 0);
  EXPECT_EQ(Read(1, 3), first);
}

INSTANTIATE_TEST_SUITE_P(Codings, JoinedInputTest,
                         testing::Values(JoinedCoding::kVob, JoinedCoding::kMpeg2,
                                         JoinedCoding::kH264));

}  // namespace
}  // namespace codec
