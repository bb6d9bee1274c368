// SPDX-License-Identifier: MIT
#include "codec/decoder/sound_input.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/codec/decoder/linear_sound.h"
#include "tests/codec/decoder/sound_clips.h"

namespace codec {
namespace {

class SoundInputTest : public testing::TestWithParam<SoundClip> {
 protected:
  void SetUp() override {
    const std::string path = PathOf(GetParam());
    ASSERT_EQ(mInput.Open(path, DecodeLinearly(path).stream), 0);
  }

  // What a packet is and what a decoder is told with it.
  std::vector<uint8_t> NextPacket() {
    const ffmpeg::PacketGuard guard(mPacket.get());
    EXPECT_TRUE(mInput.Read(mPacket.get()));
    std::vector<uint8_t> all(mPacket->data, mPacket->data + mPacket->size);
    for (int i = 0; i < mPacket->side_data_elems; ++i) {
      const AVPacketSideData& one = mPacket->side_data[i];
      all.push_back(static_cast<uint8_t>(one.type));
      all.insert(all.end(), one.data, one.data + one.size);
    }
    mPts = mPacket->pts;
    return all;
  }

  SoundInput mInput;
  ffmpeg::UniquePacket mPacket{av_packet_alloc()};
  int64_t mPts = 0;
};

TEST_P(SoundInputTest, GivesTheFirstPacketsAgainAsTheOpenedFileDoes) {
  const std::vector<uint8_t> first = NextPacket();
  const int64_t firstPts = mPts;
  const std::vector<uint8_t> second = NextPacket();
  const double begin = mInput.FirstSeconds();
  mInput.LearnIndex();
  for (const double away : {4.0, 0.5}) {
    ASSERT_TRUE(mInput.MoveBefore(begin + away));
    NextPacket();
    ASSERT_EQ(mInput.MoveToStart(), 0);
    EXPECT_EQ(NextPacket(), first);
    EXPECT_EQ(mPts, firstPts);
    EXPECT_EQ(NextPacket(), second);
  }
  EXPECT_EQ(mInput.Opens(), 1) << "there is no need to open the file again";
}

TEST_P(SoundInputTest, LandsBeforeATime) {
  mInput.LearnIndex();
  const double target = mInput.FirstSeconds() + 1.5;
  ASSERT_TRUE(mInput.MoveBefore(target));
  ASSERT_TRUE(mInput.Read(mPacket.get()));
  EXPECT_LE(mInput.SecondsOf(mPacket.get()), target);
  EXPECT_EQ(mPacket->stream_index, mInput.Stream()->index);
}

INSTANTIATE_TEST_SUITE_P(Clips, SoundInputTest, testing::ValuesIn(SoundClips()),
                         [](const auto& clip) { return TestNameOf(clip.param.name); });

}  // namespace
}  // namespace codec
