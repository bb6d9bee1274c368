// SPDX-License-Identifier: MIT
#include "codec/writer/media_buffer_pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "tests/faults/waiting.h"

namespace codec {
namespace {

// A pool of its own, so that tests share no state.
class MediaBufferPoolTest : public testing::Test {
 protected:
  // Idle buffers of a kind, counted by taking and giving them back. Only for at most five, and for
  // sound only through the tests below, because an audio take grows the pool.
  int IdleVideo() {
    std::vector<MediaBuffer*> taken;
    while (MediaBuffer* buffer = pool.TakeVideo()) taken.push_back(buffer);
    for (MediaBuffer* buffer : taken) pool.Give(buffer);
    return static_cast<int>(taken.size());
  }

  // Waits for a buffer of this type on another thread, and gives it while that thread waits.
  void ExpectWaitFor(int type, MediaBuffer* buffer) {
    const test_support::Waits waits;
    std::atomic<bool> isOver{false};
    std::thread waiter([&] {
      pool.WaitForFree(type);
      isOver = true;
    });
    waits.Await(1, [&isOver] { return isOver.load(); });
    EXPECT_EQ(waits.Count(), 1);
    pool.Give(buffer);
    waiter.join();
  }

  MediaBufferPool pool;
};

TEST(MediaBufferPool, ExistsOnce) {
  ASSERT_NE(MediaBufferPool::Instance(), nullptr);
  EXPECT_EQ(MediaBufferPool::Instance(), MediaBufferPool::Instance());
}

TEST_F(MediaBufferPoolTest, RefillsFiveVideoBuffersOfTheSizeGiven) {
  pool.RefillVideo(300);
  for (int i = 0; i < 5; ++i) {
    const std::unique_ptr<MediaBuffer> buffer(pool.TakeVideo());
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->type, 1);
    EXPECT_EQ(buffer->size, 300);
    EXPECT_EQ(buffer->pts, 0);
    EXPECT_NE(buffer->Data(), nullptr);
  }
  EXPECT_EQ(pool.TakeVideo(), nullptr);
}

TEST_F(MediaBufferPoolTest, RefillsBuffersOfTheStoredSizeForZero) {
  pool.RefillVideo(0);
  EXPECT_EQ(std::unique_ptr<MediaBuffer>(pool.TakeVideo())->size, 1024);
  pool.Reset();
  pool.SetVideoBufferSize(77);
  pool.RefillVideo(0);
  EXPECT_EQ(std::unique_ptr<MediaBuffer>(pool.TakeVideo())->size, 77);
}

TEST_F(MediaBufferPoolTest, RefillsRecordsWithoutDataForANegativeSize) {
  pool.RefillVideo(-1);
  const std::unique_ptr<MediaBuffer> buffer(pool.TakeVideo());
  ASSERT_NE(buffer, nullptr);
  EXPECT_EQ(buffer->Data(), nullptr);
  EXPECT_EQ(buffer->size, -1);
}

TEST_F(MediaBufferPoolTest, KeepsIdleBuffersAtASecondRefill) {
  pool.RefillVideo(10);
  pool.RefillVideo(10);
  std::vector<std::unique_ptr<MediaBuffer>> taken;
  while (MediaBuffer* buffer = pool.TakeVideo()) taken.emplace_back(buffer);
  EXPECT_EQ(taken.size(), 10U);
}

TEST_F(MediaBufferPoolTest, HasNoSixthVideoBufferUntilOneComesBack) {
  pool.RefillVideo(10);
  std::vector<MediaBuffer*> out;
  for (int i = 0; i < 5; ++i) out.push_back(pool.TakeVideo());
  EXPECT_EQ(pool.TakeVideo(), nullptr);

  ExpectWaitFor(1, out[0]);
  EXPECT_EQ(IdleVideo(), 1);
  for (int i = 1; i < 5; ++i) pool.Give(out[static_cast<size_t>(i)]);
}

TEST_F(MediaBufferPoolTest, WaitsForAudioBuffersTheSameWay) {
  ExpectWaitFor(2, new MediaBuffer(2));
}

TEST_F(MediaBufferPoolTest, WaitsOnlyForWhatIsTaken) {
  EXPECT_FALSE(pool.AwaitVideo());
  pool.RefillVideo(10);
  EXPECT_TRUE(pool.AwaitVideo());
}

TEST_F(MediaBufferPoolTest, NeverWaitsWhenOneIsIdleOrTheTypeIsUnknown) {
  pool.RefillVideo(10);
  pool.WaitForFree(1);
  pool.WaitForFree(0);
  pool.WaitForFree(3);
  EXPECT_EQ(IdleVideo(), 5);
}

TEST_F(MediaBufferPoolTest, FreesASixthIdleVideoBuffer) {
  pool.RefillVideo(10);
  pool.Give(new MediaBuffer(1));
  EXPECT_EQ(IdleVideo(), 5);
}

TEST_F(MediaBufferPoolTest, GrowsByFiveAudioBuffers) {
  pool.SetAudioBufferSize(40);
  std::vector<std::unique_ptr<MediaBuffer>> taken;
  taken.emplace_back(pool.TakeAudio());
  ASSERT_NE(taken[0], nullptr);
  EXPECT_EQ(taken[0]->type, 2);
  EXPECT_EQ(taken[0]->size, 40);
  // Four more were made at this size; the next five follow the new one.
  pool.SetAudioBufferSize(50);
  for (int i = 0; i < 5; ++i) taken.emplace_back(pool.TakeAudio());
  for (size_t i = 0; i < 5; ++i) EXPECT_EQ(taken[i]->size, 40) << i;
  EXPECT_EQ(taken[5]->size, 50);
}

TEST_F(MediaBufferPoolTest, KeepsAHundredIdleAudioBuffers) {
  pool.SetAudioBufferSize(50);
  for (int i = 0; i < 101; ++i) {
    auto buffer = std::make_unique<MediaBuffer>(2);
    buffer->SetPts(i + 1);
    pool.Give(buffer.release());
  }
  for (int i = 0; i < 100; ++i) {
    const std::unique_ptr<MediaBuffer> buffer(pool.TakeAudio());
    EXPECT_EQ(buffer->pts, i + 1);
  }
  EXPECT_EQ(std::unique_ptr<MediaBuffer>(pool.TakeAudio())->pts, 0);
}

TEST_F(MediaBufferPoolTest, NeitherKeepsNorFreesARecordOfAnotherType) {
  const auto buffer = std::make_unique<MediaBuffer>(3);
  buffer->Allocate(8);
  pool.Give(buffer.get());
  pool.Give(nullptr);
  EXPECT_EQ(IdleVideo(), 0);
  // Still alive: a sanitizer would see this touch freed memory.
  buffer->Data()[0] = 1;
}

TEST_F(MediaBufferPoolTest, HandsOutTheLongestIdleFirst) {
  pool.RefillVideo(10);
  MediaBuffer* const first = pool.TakeVideo();
  pool.Give(first);
  std::vector<MediaBuffer*> taken;
  while (MediaBuffer* buffer = pool.TakeVideo()) taken.push_back(buffer);
  EXPECT_EQ(taken.back(), first);
  for (MediaBuffer* buffer : taken) pool.Give(buffer);
}

TEST_F(MediaBufferPoolTest, DropsBuffersThatAreTooSmallForTheTaker) {
  pool.RefillVideo(10);
  pool.RefillVideo(20);
  const std::unique_ptr<MediaBuffer> video(pool.TakeVideo(20));
  ASSERT_NE(video, nullptr);
  EXPECT_EQ(video->Capacity(), 20);
  EXPECT_EQ(IdleVideo(), 4);
  EXPECT_EQ(pool.TakeVideo(21), nullptr);

  pool.SetAudioBufferSize(10);
  pool.Give(pool.TakeAudio());
  pool.SetAudioBufferSize(30);
  const std::unique_ptr<MediaBuffer> audio(pool.TakeAudio(30));
  ASSERT_NE(audio, nullptr);
  EXPECT_EQ(audio->Capacity(), 30);
  EXPECT_EQ(pool.TakeAudio(31), nullptr);
}

TEST_F(MediaBufferPoolTest, ResetEmptiesBothSides) {
  pool.RefillVideo(10);
  pool.SetAudioBufferSize(10);
  pool.Give(pool.TakeAudio());
  pool.Reset();
  pool.SetAudioBufferSize(60);
  EXPECT_EQ(pool.TakeVideo(), nullptr);
  EXPECT_EQ(std::unique_ptr<MediaBuffer>(pool.TakeAudio())->size, 60);
}

TEST_F(MediaBufferPoolTest, GetsItsOwnBuffersBack) {
  MediaBufferPool other;
  pool.RefillVideo(10);
  MediaBuffer* const first = pool.TakeVideo();
  MediaBuffer* const second = pool.TakeVideo();
  MediaBuffer* const sound = pool.TakeAudio();
  EXPECT_EQ(first->Home(), &pool);
  EXPECT_EQ(sound->Home(), &pool);
  PooledBuffer(first).reset();
  other.Give(second);
  other.Give(sound);
  EXPECT_EQ(IdleVideo(), 5);
  EXPECT_FALSE(pool.HasTakenVideo());
  EXPECT_TRUE(other.IsOutOfVideo());
  other.SetAudioBufferSize(70);
  EXPECT_EQ(std::unique_ptr<MediaBuffer>(other.TakeAudio())->size, 70);
}

TEST_F(MediaBufferPoolTest, KeepsItsBuffersAtTheResetOfAnother) {
  MediaBufferPool other;
  pool.RefillVideo(10);
  other.RefillVideo(10);
  other.Reset();
  EXPECT_TRUE(other.IsOutOfVideo());
  EXPECT_EQ(IdleVideo(), 5);
}

TEST_F(MediaBufferPoolTest, HandsEachBufferToOneThreadAtATime) {
  pool.RefillVideo(8);
  const auto work = [this] {
    for (int i = 0; i < 2000; ++i) {
      MediaBuffer* const buffer = pool.TakeVideo();
      if (buffer != nullptr) ++buffer->Data()[0];
      pool.Give(buffer);
    }
  };
  std::thread other(work);
  work();
  other.join();
  EXPECT_EQ(IdleVideo(), 5);
}

}  // namespace
}  // namespace codec
