// SPDX-License-Identifier: MIT
#include "codec/decoder/lazy_decoder.h"

#include <gtest/gtest.h>

#include "tests/codec/decoder/fake_picture_decoder.h"

namespace codec {
namespace {

class LazyDecoderTest : public testing::Test {
 protected:
  void Add(int number) {
    const ffmpeg::UniquePacket packet(av_packet_alloc());
    packet->pts = number;
    packet->size = kPacketBytes;
    EXPECT_TRUE(mLazy.Add(packet.get()));
  }
  // The number of the next picture, or a negative error.
  int64_t Receive() {
    const ffmpeg::UniqueFrame frame(av_frame_alloc());
    const int result = mLazy.Receive(frame.get());
    return result < 0 ? result : frame->best_effort_timestamp;
  }

  FakeDecoder mFake{0, 1};
  LazyDecoder mLazy{&mFake};
};

TEST_F(LazyDecoderTest, FeedsOnlyWhatItIsToldTo) {
  for (int number = 10; number < 14; ++number) Add(number);
  EXPECT_EQ(mLazy.Added(), 4);
  EXPECT_EQ(mFake.sent, std::vector<int>{});
  EXPECT_TRUE(mLazy.IsHungry());
  mLazy.Feed();
  EXPECT_FALSE(mLazy.IsHungry());
  EXPECT_EQ(mFake.sent, std::vector<int>{10});
  EXPECT_EQ(mLazy.Fed(), 1);
  EXPECT_EQ(Receive(), AVERROR(EAGAIN));
  EXPECT_TRUE(mLazy.IsHungry());
}

TEST_F(LazyDecoderTest, SaysWhichPlaceAPictureBelongsTo) {
  for (int number = 10; number < 13; ++number) {
    Add(number);
    mLazy.Feed();
  }
  EXPECT_EQ(Receive(), 10);
  EXPECT_EQ(mLazy.Place(), 1) << "the packet that brings it out";
  EXPECT_EQ(mLazy.NumberAt(1), 0U);
  EXPECT_EQ(mLazy.NumberAt(1), 1U);
  EXPECT_EQ(Receive(), 11);
  EXPECT_EQ(mLazy.Place(), 2);
  EXPECT_EQ(mLazy.NumberAt(2), 0U);
}

TEST_F(LazyDecoderTest, IsDrainedWithoutTheEndOfTheInput) {
  Add(10);
  mLazy.Feed();
  EXPECT_EQ(Receive(), AVERROR(EAGAIN));
  mLazy.Drain();
  EXPECT_EQ(Receive(), 10);
  EXPECT_EQ(Receive(), AVERROR_EOF);
  EXPECT_FALSE(mLazy.IsHungry());
}

TEST_F(LazyDecoderTest, BeginsAgainAtAPlace) {
  for (int number = 10; number < 15; ++number) Add(number);
  for (int fed = 0; fed < 4; ++fed) mLazy.Feed();
  EXPECT_EQ(mLazy.DropFed(2), 2 * kPacketBytes);
  mLazy.Begin(2);
  EXPECT_EQ(mLazy.Fed(), 2);
  EXPECT_EQ(mLazy.Added(), 5);
  mFake.sent.clear();
  mLazy.Feed();
  mLazy.Feed();
  EXPECT_EQ(mFake.sent, (std::vector<int>{12, 13}));
  EXPECT_EQ(Receive(), 12);
  EXPECT_EQ(mLazy.Place(), 3);
}

TEST_F(LazyDecoderTest, DropsOnlyWhatWasFed) {
  for (int number = 10; number < 15; ++number) Add(number);
  mLazy.Feed();
  EXPECT_EQ(mLazy.DropFed(5), kPacketBytes);
  EXPECT_EQ(mLazy.DropFed(5), 0);
  mLazy.SkipAll();
  EXPECT_EQ(mLazy.DropFed(5), 4 * kPacketBytes);
  mLazy.Clear();
  EXPECT_EQ(mLazy.Added(), 0);
  Add(20);
  EXPECT_EQ(mLazy.Added(), 1);
}

}  // namespace
}  // namespace codec
