// SPDX-License-Identifier: MIT
// Several writers at a time.
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <utility>
#include <vector>

#include "codec/filter/listener_registry.h"
#include "tests/codec/writer/writer_fixture.h"

namespace codec {
namespace {

// Keeps the events that it is told of.
class NotingFilter : public FakeFilter, public Listener {
 public:
  NotingFilter() : FakeFilter(kPictureBytes) {}
  int32_t OnEvent(int32_t what, int32_t arg1) override {
    events.emplace_back(what, arg1);
    return 0;
  }
  std::vector<std::pair<int32_t, int32_t>> events;
};

MediaFormat Independent(MediaFormat format) {
  format.SetInt32("independent", 1);
  return format;
}

// Two writers whose encoders take nothing before Stop.
class TwoWriters : public testing::Test {
 protected:
  void SetUp() override { MediaBufferPool::Instance()->Reset(); }
  void TearDown() override {
    for (auto& writer : writers) writer.reset();
    MediaBufferPool::Instance()->Reset();
    ListenerRegistry::Instance().SetListener(nullptr);
  }

  void Begin(size_t index, MediaFormat format, MediaFilter* filter = nullptr) {
    states[index]->nextType = [] { return 0; };
    writers[index] = std::make_unique<MediaWriterImpl>(new FakeEncoder(states[index]), filter);
    ASSERT_EQ(writers[index]->Configure(format), 0);
    ASSERT_EQ(writers[index]->Start(), 0);
  }
  void Video(size_t index, int64_t pts) {
    std::vector<uint8_t> picture(kPictureBytes, static_cast<uint8_t>(pts));
    writers[index]->WriteFrame(1, picture.data(), kPictureBytes, pts);
  }
  // Stops the first while the second has two buffers left. How many of its five pictures the
  // second one writes.
  size_t WrittenBesideAStop() {
    for (int64_t pts = 1; pts <= 3; ++pts) Video(1, pts);
    writers[0]->Stop();
    for (int64_t pts = 4; pts <= 5; ++pts) Video(1, pts);
    writers[1]->Stop();
    return states[1]->VideoTimes().size();
  }

  test_support::LogCapture log;
  std::array<std::shared_ptr<EncoderState>, 2> states = {std::make_shared<EncoderState>(),
                                                         std::make_shared<EncoderState>()};
  std::array<std::unique_ptr<MediaWriterImpl>, 2> writers;
};

// A second refill adds five to the five that are there, which are all of the pool.
TEST_F(TwoWriters, ShareTheirBuffersUnlessTheyAreIndependent) {
  Begin(0, VideoFormat());
  Begin(1, VideoFormat());
  EXPECT_EQ(WrittenBesideAStop(), 3U);
}

TEST_F(TwoWriters, KeepTheirBuffersAtEachOthersStop) {
  Begin(0, Independent(VideoFormat()));
  Begin(1, Independent(VideoFormat()));
  EXPECT_EQ(WrittenBesideAStop(), 5U);
}

TEST_F(TwoWriters, KeepTheirBuffersAtTheStopOfOneThatShares) {
  Begin(0, VideoFormat());
  Begin(1, Independent(VideoFormat()), new FakeFilter(kPictureBytes));
  EXPECT_EQ(WrittenBesideAStop(), 5U);
}

TEST_F(TwoWriters, LeaveTheSharedBuffersAlone) {
  MediaBufferPool* const shared = MediaBufferPool::Instance();
  shared->RefillVideo(3);
  shared->SetAudioBufferSize(5);
  shared->Give(shared->TakeAudio());
  Begin(0, Independent(SoundFormat()), new FakeFilter(kPictureBytes));
  Begin(1, Independent(SoundFormat()));
  std::vector<uint8_t> sound(20000, 7);
  for (size_t i = 0; i < writers.size(); ++i) {
    Video(i, 1);
    writers[i]->WriteFrame(2, sound.data(), static_cast<uint32_t>(sound.size()), 1);
    writers[i]->Stop();
    EXPECT_EQ(states[i]->Of('V').size(), 1U);
    EXPECT_EQ(states[i]->Of('A').size(), 3U);
    EXPECT_EQ(writers[i]->OutputError(), 0);
  }
  for (int i = 0; i < 5; ++i) {
    const std::unique_ptr<MediaBuffer> video(shared->TakeVideo());
    ASSERT_NE(video, nullptr);
    EXPECT_EQ(video->Capacity(), 3);
    EXPECT_EQ(std::unique_ptr<MediaBuffer>(shared->TakeAudio())->Capacity(), 5);
  }
  EXPECT_EQ(shared->TakeVideo(), nullptr);
}

TEST_F(TwoWriters, MoveTheirOwnLogos) {
  auto* const first = new NotingFilter;
  auto* const second = new NotingFilter;
  Begin(0, Independent(VideoFormat()), first);
  auto* const head = new FakeFilter(kPictureBytes);
  AppendFilter(head, second);
  Begin(1, Independent(VideoFormat()), head);
  NotingFilter shared;
  ListenerRegistry::Instance().SetListener(&shared);
  writers[1]->SetParameter("water-mark-pos", 3);
  using Events = std::vector<std::pair<int32_t, int32_t>>;
  EXPECT_EQ(second->events, (Events{{kWaterMarkEvent, 3}}));
  EXPECT_TRUE(first->events.empty());
  writers[1].reset();
  EXPECT_EQ(ListenerRegistry::Instance().GetListener(), &shared);
  EXPECT_TRUE(shared.events.empty());
}

TEST_F(TwoWriters, LeaveTheSharedLogoAloneWhereTheyFail) {
  NotingFilter shared;
  ListenerRegistry::Instance().SetListener(&shared);
  states[0]->openResult = -1;
  MediaFormat format = Independent(VideoFormat());
  writers[0] = std::make_unique<MediaWriterImpl>(new FakeEncoder(states[0]), nullptr);
  EXPECT_EQ(writers[0]->Configure(format), -1);
  writers[0]->SetParameter("water-mark-pos", 3);
  writers[0].reset();
  EXPECT_EQ(ListenerRegistry::Instance().GetListener(), &shared);
  EXPECT_TRUE(shared.events.empty());
}

}  // namespace
}  // namespace codec
