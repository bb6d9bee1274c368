// SPDX-License-Identifier: MIT
#include "codec/writer/picture_intake.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#include "codec/ffmpeg/ffmpeg_headers.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::MediaWriterImpl";
constexpr int32_t kBytes = 16;
constexpr int kBuffers = 5;

// Answers each question by taking this many pictures out of the queue on another thread.
class Taker : public BufferGiver {
 public:
  Taker(FrameQueue* queue, int pictures) : mQueue(queue), mPictures(pictures) {}
  ~Taker() override { Join(); }

  bool GivesBuffersBack() override {
    ++asked;
    if (mPictures < 1) return false;
    Join();
    mThread = std::thread([this] {
      for (int i = 0; i < mPictures; ++i) mQueue->Pop();
    });
    return true;
  }

  int asked = 0;

 private:
  void Join() {
    if (mThread.joinable()) mThread.join();
  }

  FrameQueue* const mQueue;
  const int mPictures;
  std::thread mThread;
};

// Gives pictures of one byte value on, in a buffer of this pool.
class Painter : public MediaFilter {
 public:
  explicit Painter(MediaBufferPool* pool) { SetPool(pool); }
  MediaBuffer* Process(uint8_t* picture) override {
    MediaBuffer* const buffer = TakeBuffer(kBytes);
    if (buffer != nullptr) std::memset(buffer->Data(), picture[0] + 1, kBytes);
    return buffer;
  }
};

class PictureIntakeTest : public testing::Test {
 protected:
  void SetUp() override {
    mPool.SetVideoBufferSize(kBytes);
    mPool.RefillVideo(kBytes);
    Prepare(&mIntake);
  }

  void Prepare(PictureIntake* intake) {
    intake->SetPool(&mPool);
    intake->SetFrame(kBytes);
  }

  static int Write(PictureIntake* intake, int64_t pts, uint8_t value = 0, uint32_t size = kBytes) {
    std::vector<uint8_t> picture(kBytes, value);
    return intake->Write(picture.data(), size, pts);
  }
  int Write(int64_t pts, uint8_t value = 0, uint32_t size = kBytes) {
    return Write(&mIntake, pts, value, size);
  }
  // The pool holds as many buffers.
  void Fill() {
    for (int i = 1; i <= kBuffers; ++i) EXPECT_EQ(Write(i), 0);
  }

  std::vector<int64_t> TakeTimes() {
    std::vector<int64_t> times;
    while (const PooledBuffer buffer = mQueue.Pop()) times.push_back(buffer->pts);
    return times;
  }

  using Times = std::vector<int64_t>;

  const test_support::LogCapture mLog;
  MediaBufferPool mPool;
  FrameQueue mQueue;
  PictureIntake mIntake{&mQueue, nullptr};
};

TEST_F(PictureIntakeTest, QueuesCopiesWithTheirTimes) {
  EXPECT_EQ(Write(5, 7), 0);
  EXPECT_EQ(Write(6, 8, 3), 0);
  const PooledBuffer first = mQueue.Pop();
  const PooledBuffer second = mQueue.Pop();
  ASSERT_TRUE(first && second);
  EXPECT_EQ(first->pts, 5);
  EXPECT_EQ(std::vector<uint8_t>(first->Data(), first->Data() + first->size),
            std::vector<uint8_t>(kBytes, 7));
  EXPECT_EQ(second->pts, 6);
  EXPECT_EQ(second->size, 3);
}

TEST_F(PictureIntakeTest, LeavesOutPicturesThatAreNotLater) {
  for (const int64_t pts : {0, 0, 40, 40, 39, 80}) EXPECT_EQ(Write(pts), 0);
  EXPECT_EQ(mIntake.Pictures(), 4);
  EXPECT_EQ(TakeTimes(), (Times{0, 0, 40, 80}));
}

TEST_F(PictureIntakeTest, FailsForAPictureThatIsTooLarge) {
  EXPECT_EQ(Write(1, 0, kBytes + 1), AVERROR(EINVAL));
  EXPECT_EQ(mLog.Count(kLogWarn, kTag, "video frame of 17 bytes exceeds its buffer of 16"), 1);
  EXPECT_EQ(mIntake.Write(nullptr, kBytes, 2), 0);
  mIntake.SetFrame(0);
  EXPECT_EQ(Write(3), AVERROR(EINVAL));
  EXPECT_EQ(TakeTimes(), Times());
}

TEST_F(PictureIntakeTest, LeavesPicturesOutIfNoBufferIsIdle) {
  Taker taker(&mQueue, 1);
  mIntake.SetGiver(&taker);
  Fill();
  EXPECT_EQ(Write(6), 0);
  EXPECT_EQ(taker.asked, 0);
  EXPECT_EQ(mIntake.Pictures(), 6);
  EXPECT_EQ(TakeTimes(), (Times{1, 2, 3, 4, 5}));
  EXPECT_EQ(Write(7), 0);
  EXPECT_EQ(TakeTimes(), Times{7});
}

TEST_F(PictureIntakeTest, WaitsForABufferThatIsGivenBack) {
  mIntake.SetDiscard(false);
  {
    Taker taker(&mQueue, 2);
    mIntake.SetGiver(&taker);
    Fill();
    EXPECT_EQ(taker.asked, 0);
    EXPECT_EQ(Write(6), 0);
    EXPECT_EQ(taker.asked, 1);
  }
  EXPECT_EQ(TakeTimes(), (Times{3, 4, 5, 6}));
}

TEST_F(PictureIntakeTest, FailsIfNobodyGivesBuffersBack) {
  mIntake.SetDiscard(false);
  Fill();
  EXPECT_EQ(Write(6), AVERROR(EINVAL));
  Taker idle(&mQueue, 0);
  mIntake.SetGiver(&idle);
  EXPECT_EQ(Write(7), AVERROR(EINVAL));
  EXPECT_EQ(idle.asked, 1);
  EXPECT_EQ(mLog.Count(kLogError, kTag, "a picture is lost: nobody encodes those before it"), 2);
  EXPECT_EQ(TakeTimes(), (Times{1, 2, 3, 4, 5}));
  EXPECT_EQ(Write(8), 0);
}

TEST_F(PictureIntakeTest, FailsOnceWithoutMemory) {
  mIntake.SetDiscard(false);
  mPool.Reset();
  EXPECT_EQ(Write(1), AVERROR(ENOMEM));
  EXPECT_EQ(Write(2), 0);
  EXPECT_EQ(mLog.Count(kLogError, kTag, "no memory for pictures"), 1);
  EXPECT_EQ(mIntake.Pictures(), 2);
}

TEST_F(PictureIntakeTest, SendsPicturesThroughTheFilter) {
  Painter painter(&mPool);
  PictureIntake intake(&mQueue, &painter);
  Prepare(&intake);
  intake.SetFrame(kBytes - 4);
  EXPECT_EQ(Write(&intake, 3, 41), 0);
  const PooledBuffer picture = mQueue.Pop();
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->pts, 3);
  EXPECT_EQ(picture->size, kBytes - 4);
  EXPECT_EQ(picture->Data()[0], 42);
}

}  // namespace
}  // namespace codec
