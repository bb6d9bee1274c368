// SPDX-License-Identifier: MIT
#include "codec/decoder/part_clock.h"

#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <optional>

namespace codec {
namespace {

constexpr std::array<int, 2> kStreams = {0, 1};
constexpr int64_t kMilli = 1000;
constexpr int64_t kSecond = 1000000;
constexpr int64_t kHour = 3600 * kSecond;
constexpr int64_t kPictureLength = 40 * kMilli;
constexpr int64_t kSoundLength = 24 * kMilli;

// Packets as a file has them, and what a clock that takes them finds.
class PartClockTest : public testing::Test {
 protected:
  void Picture(int64_t shown, std::optional<int64_t> decoded) {
    Add({mPosition, PartClock::kPictures, shown, decoded, kPictureLength, true, true});
  }
  void Sound(int64_t shown) {
    Add({mPosition, PartClock::kSound, shown, shown, kSoundLength, true, true});
  }
  void Add(const ClockedPacket& packet) {
    mPackets.push_back(packet);
    mPosition += 100;
  }

  // Pictures of 25 a second, and sound. Every third picture is shown before the one decoded last.
  void Stretch(int64_t from, int64_t length) {
    constexpr std::array<int64_t, 3> kShownLater = {2 * kPictureLength, 0, kPictureLength};
    size_t next = 0;
    for (int64_t time = 0; time < length; time += kPictureLength, ++next) {
      Picture(from + time + kShownLater[next % 3], from + time - kPictureLength);
      Sound(from + time);
    }
  }

  const JoinedParts& Parts() {
    while (!mPackets.empty()) {
      mClock->Take(mPackets);
      mPackets.pop_front();
    }
    mClock->End();
    return mClock->Joined();
  }

  std::deque<ClockedPacket> mPackets;
  int64_t mPosition = 0;
  std::optional<PartClock> mClock{kStreams};
};

TEST_F(PartClockTest, FindsOnePartInOneRecording) {
  Stretch(10 * kSecond, 3 * kSecond);
  ASSERT_EQ(Parts().Count(), 1U);
  EXPECT_EQ(Parts().Parts()[0].begin, 10 * kSecond);
  EXPECT_EQ(Parts().Parts()[0].shift, 0);
  EXPECT_FALSE(mClock->IsErratic());
}

TEST_F(PartClockTest, LaysPartsEndToEndWhereverTheirClocksBegin) {
  Stretch(10 * kSecond, 3 * kSecond);
  const int64_t second = mPosition;
  Stretch(10 * kSecond, 2 * kSecond);
  const int64_t third = mPosition;
  Stretch(kHour, kSecond);
  const int64_t fourth = mPosition;
  Stretch(0, 4 * kSecond);
  const JoinedParts& parts = Parts();
  ASSERT_EQ(parts.Count(), 4U);
  EXPECT_EQ(parts.Parts()[1].position, second);
  EXPECT_EQ(parts.Parts()[2].position, third);
  EXPECT_EQ(parts.Parts()[3].position, fourth);
  int64_t end = parts.Parts()[0].end;
  for (size_t i = 1; i < parts.Count(); ++i) {
    const JoinedParts::Part& part = parts.Parts()[i];
    EXPECT_EQ(part.begin + part.shift, end) << i;
    end = part.end + part.shift;
  }
  EXPECT_EQ(parts.End(), end);
  EXPECT_EQ(parts.Parts()[1].begin, 10 * kSecond);
  EXPECT_EQ(parts.Parts()[2].begin, kHour);
}

TEST_F(PartClockTest, TakesTheFirstStampOfEitherStreamForTheBegin) {
  Stretch(10 * kSecond, kSecond);
  Picture(5 * kSecond, 5 * kSecond);
  Sound(5 * kSecond - 300 * kMilli);
  Picture(5 * kSecond - 40 * kMilli, 5 * kSecond + 40 * kMilli);
  Picture(5 * kSecond + 80 * kMilli, 5 * kSecond + 80 * kMilli);
  Sound(5 * kSecond - 276 * kMilli);
  Sound(5 * kSecond - 252 * kMilli);
  ASSERT_EQ(Parts().Count(), 2U);
  EXPECT_EQ(Parts().Parts()[1].begin, 5 * kSecond - 300 * kMilli);
  EXPECT_EQ(Parts().Parts()[1].end, 5 * kSecond + 120 * kMilli);
}

TEST_F(PartClockTest, TakesNoPauseForARestart) {
  Stretch(0, kSecond);
  Stretch(10 * kSecond, kSecond);
  // Slides beside sound: the pictures are far apart, the sound is not.
  for (int64_t time = 11 * kSecond; time < 71 * kSecond; time += kSoundLength) {
    Sound(time);
    if (time % (20 * kSecond) < kSoundLength) Picture(time, time);
  }
  EXPECT_EQ(Parts().Count(), 1U);
}

TEST_F(PartClockTest, TakesNoReorderedPicturesForARestart) {
  for (int i = 0; i < 40; ++i) {
    const int64_t group = i * 16 * kPictureLength;
    for (const int place : {16, 8, 4, 2, 1, 3, 6, 5, 7, 12, 10, 9, 11, 14, 13, 15}) {
      Picture(group + place * kPictureLength, std::nullopt);
    }
  }
  EXPECT_EQ(Parts().Count(), 1U);
}

TEST_F(PartClockTest, TakesNoOverlapOfSoundAloneForARestart) {
  Stretch(10 * kSecond, 2 * kSecond);
  for (int64_t time = 0; time < 2 * kSecond; time += kPictureLength) {
    Sound(12 * kSecond - 630 * kMilli + time);
    Picture(12 * kSecond + time, 12 * kSecond + time - kPictureLength);
  }
  EXPECT_EQ(Parts().Count(), 1U);
}

TEST_F(PartClockTest, TakesNoSingleWildStampForARestart) {
  for (const int64_t wild : {kHour, -kHour, 26 * kHour}) {
    Stretch(10 * kSecond, kSecond);
    Picture(wild, wild);
    Stretch(11 * kSecond, kSecond);
    Sound(wild);
    Stretch(12 * kSecond, kSecond);
    EXPECT_EQ(Parts().Count(), 1U) << wild;
    EXPECT_LT(*Parts().End(), 14 * kSecond);
    mClock.emplace(kStreams);
  }
}

TEST_F(PartClockTest, FindsTheRestartOfAPartWithoutSound) {
  Stretch(10 * kSecond, kSecond);
  for (int i = 0; i < 25; ++i) {
    const int64_t time = 10 * kSecond + i * kPictureLength;
    Picture(time, time);
  }
  Stretch(10 * kSecond, kSecond);
  const JoinedParts& parts = Parts();
  ASSERT_EQ(parts.Count(), 3U);
  EXPECT_EQ(parts.Parts()[1].end - parts.Parts()[1].begin, kSecond);
}

TEST_F(PartClockTest, LeavesTheLastSoundOfAPartToItWhereTheNextOneHasBegun) {
  Stretch(10 * kSecond, 2 * kSecond);
  const int64_t position = mPosition;
  for (int i = 0; i < 10; ++i) {
    Picture(kHour + i * kPictureLength, kHour + i * kPictureLength);
    Sound(12 * kSecond + i * kSoundLength);
  }
  Stretch(kHour + 10 * kPictureLength, kSecond);
  const JoinedParts& parts = Parts();
  ASSERT_EQ(parts.Count(), 2U);
  EXPECT_EQ(parts.Parts()[1].begin, kHour);
  EXPECT_EQ(parts.Shift(position + 100, 12 * kSecond), 0);
  EXPECT_EQ(parts.Shift(position + 100, kHour), parts.Parts()[1].shift);
}

TEST_F(PartClockTest, CallsAClockErraticThatGoesToAndFro) {
  for (int i = 0; i < 40; ++i) {
    for (int j = 0; j < 5; ++j) {
      Picture(kHour * (i % 2) + i * kSecond, kHour * (i % 2) + i * kSecond + j * kPictureLength);
    }
  }
  Parts();
  EXPECT_TRUE(mClock->IsErratic());
}

TEST_F(PartClockTest, TellsWhereTheLastPartBegins) {
  Stretch(10 * kSecond, 3 * kSecond);
  const int64_t second = mPosition;
  Stretch(0, kSecond);
  while (mClock->Parts() < 2) {
    ASSERT_FALSE(mPackets.empty());
    mClock->Take(mPackets);
    mPackets.pop_front();
  }
  EXPECT_EQ(mClock->LastPosition(), second);
  EXPECT_NEAR(static_cast<double>(mClock->Length()), 3e6, 1e5);
}

TEST_F(PartClockTest, GivesLandingsOnTheLineThatBeginBeforeTheirPacket) {
  Stretch(10 * kSecond, 2 * kSecond);
  const int64_t second = mPosition;
  Stretch(5 * kSecond, 2 * kSecond);
  const JoinedParts& parts = Parts();
  const int64_t border = *parts.End() - (parts.Parts()[1].end - parts.Parts()[1].begin);
  for (const int stream : {0, 1}) {
    EXPECT_EQ(parts.LandingFor(stream, 10 * kSecond - 1), nullptr);
    const PartLanding* const landing = parts.LandingFor(stream, border + kSecond);
    ASSERT_NE(landing, nullptr);
    EXPECT_LE(landing->time, border + kSecond);
    EXPECT_GT(landing->time, border + kSecond / 2);
    EXPECT_GT(landing->position, second);
    EXPECT_LT(landing->from, landing->position);
  }
  EXPECT_EQ(parts.LandingFor(2, border), nullptr);
  EXPECT_EQ(parts.LandingFor(-1, border), nullptr);
}

}  // namespace
}  // namespace codec
