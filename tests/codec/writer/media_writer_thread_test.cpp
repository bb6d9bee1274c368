// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <thread>
#include <vector>

#include "codec/ffmpeg/ffmpeg_headers.h"
#include "tests/codec/writer/writer_fixture.h"
#include "tests/faults/faults.h"
#include "tests/faults/no_threads.h"
#include "tests/faults/waiting.h"
#include "tests/support/same_items.h"

namespace codec {
namespace {

constexpr int kSoundBytes = 8192;

MediaFormat Threaded(MediaFormat format, bool discard) {
  format.SetInt32("use-thread", 1);
  format.SetInt32("auto-discard-video", discard ? 1 : 0);
  return format;
}

class WriterThread : public WriterTest {
 protected:
  // A thousand pictures and the sound that belongs to them, then Stop.
  std::shared_ptr<EncoderState> Thousand(MediaFormat format) {
    state = std::make_shared<EncoderState>();
    // As an encoder asks: for the kind that lies behind.
    EncoderState* const raw = state.get();
    state->nextType = [raw] {
      const auto count = [raw](char kind) {
        return std::count_if(raw->calls.begin(), raw->calls.end(),
                             [kind](const EncoderState::Call& call) { return call.kind == kind; });
      };
      return count('V') > count('A') ? 2 : 1;
    };
    format.SetInt32("auto-discard-video", 0);
    format.SetInt32("enable-av-sync", 0);
    Begin(format);
    for (int i = 0; i < 1000; ++i) {
      Video(i * 40000, kPictureBytes, static_cast<uint8_t>(i));
      if (format.Entries().count("has-audio") != 0) {
        Audio(i * 40000, 5000, static_cast<uint8_t>(i));
      }
    }
    writer->Stop();
    writer.reset();
    return state;
  }
};

TEST_F(WriterThread, EncodesTheSamePicturesOnBothThreads) {
  const auto inlined = Thousand(VideoFormat());
  MediaFormat format = VideoFormat();
  format.SetInt32("use-thread", 1);
  const auto threaded = Thousand(format);
  EXPECT_EQ(inlined->Of('V').size(), 1000U);
  EXPECT_TRUE(test_support::SameItems(inlined->calls, threaded->calls));
}

// How the two kinds interleave depends on what has arrived; each kind by itself does not.
TEST_F(WriterThread, EncodesTheSamePicturesAndSoundOnBothThreads) {
  const auto inlined = Thousand(SoundFormat());
  MediaFormat format = SoundFormat();
  format.SetInt32("use-thread", 1);
  const auto threaded = Thousand(format);
  EXPECT_EQ(inlined->Of('A').size(), (1000U * 5000 + kSoundBytes - 1) / kSoundBytes);
  EXPECT_TRUE(test_support::SameItems(inlined->Of('V'), threaded->Of('V')));
  EXPECT_TRUE(test_support::SameItems(inlined->Of('A'), threaded->Of('A')));
  EXPECT_EQ(threaded->Kinds().substr(threaded->calls.size() - 2), "CD");
}

TEST_F(WriterThread, EncodesOnTheCallersThreadWhereTheHostGivesNone) {
  Make();
  MediaFormat format = Threaded(VideoFormat(), false);
  ASSERT_EQ(writer->Configure(format), 0);
  {
    const test_support::NoThreads noThreads;
    ASSERT_EQ(writer->Start(), 0);
  }
  for (int i = 0; i < 50; ++i) Video(i * 40000);
  EXPECT_EQ(state->Of('V').size(), 50U) << "before Stop";
  writer->Stop();
}

TEST_F(WriterThread, WaitsForTheEncoderRatherThanDrop) {
  state->delay = std::chrono::microseconds(300);
  Begin(Threaded(VideoFormat(), false));
  for (int i = 0; i < 200; ++i) Video(i);
  writer->Stop();
  EXPECT_EQ(state->VideoTimes().size(), 200U);
  EXPECT_EQ(Logged(kLogDebug, "discard video frame"), 0);
}

// The scheduler takes no frame before the producer was woken without cause.
TEST_F(WriterThread, TakesWakeUpsWithoutCauseForNothing) {
  constexpr int kWakeUps = 3;
  const test_support::Waits waits;
  const std::thread::id producer = std::this_thread::get_id();
  state->nextType = [&waits, producer] {
    return std::this_thread::get_id() == producer || waits.Count() >= kWakeUps ? 1 : 0;
  };
  Begin(Threaded(VideoFormat(), false));
  {
    const test_support::Fault fault(test_support::FaultCall::pthread_cond_wait);
    for (int i = 1; i <= 8; ++i) Video(i * 1000);
    EXPECT_GE(fault.Failed(), kWakeUps);
  }
  for (int i = 9; i <= 20; ++i) Video(i * 1000);
  writer->Stop();
  EXPECT_EQ(state->VideoTimes().size(), 20U);
  EXPECT_EQ(writer->OutputError(), 0);
}

// Nobody would ever give a buffer back.
TEST_F(WriterThread, WaitsForNobody) {
  struct Row {
    const char* what;
    int useThread;
    int nextType;
    bool isStarted;
  };
  for (const Row& row : {Row{"not started", 1, 1, false}, Row{"no stream", 1, 0, true},
                         Row{"no stream, one thread", 0, 0, true}}) {
    SetUp();
    MediaFormat format = VideoFormat();
    format.SetInt32("use-thread", row.useThread);
    format.SetInt32("auto-discard-video", 0);
    state->nextType = [&row] { return row.nextType; };
    Make();
    ASSERT_EQ(writer->Configure(format), 0) << row.what;
    if (row.isStarted) writer->Start();
    for (int i = 1; i <= 7; ++i) Video(i * 1000);
    EXPECT_EQ(writer->OutputError(), AVERROR(EINVAL)) << row.what;
    TearDown();
  }
}

TEST_F(WriterThread, WaitsForNobodyAfterStop) {
  MediaFormat format = VideoFormat();
  format.SetInt32("use-thread", 1);
  format.SetInt32("auto-discard-video", 0);
  Begin(format);
  Video(1000);
  writer->Stop();
  for (int i = 2; i <= 9; ++i) Video(i * 1000);
  EXPECT_NE(writer->OutputError(), 0);
  EXPECT_EQ(state->VideoTimes().size(), 1U);
}

// However long the silence is, few of its frames exist at a time.
TEST_F(WriterThread, WritesALongSilencePieceByPiece) {
  for (const int useThread : {0, 1}) {
    SetUp();
    state = std::make_shared<EncoderState>();
    MediaFormat format = SoundFormat();
    format.SetInt32("use-thread", useThread);
    Begin(format);
    Video(0);
    const int64_t before = test_support::FaultCallCount(test_support::FaultCall::malloc);
    constexpr int64_t kTenMinutes = int64_t{600} * 1000000;
    Audio(kTenMinutes, kSoundBytes);
    writer->Stop();
    // Each buffer's bytes are one allocation.
    EXPECT_LE(test_support::FaultCallCount(test_support::FaultCall::malloc) - before, 1000)
        << useThread;
    EXPECT_EQ(static_cast<int64_t>(state->Of('A').size()), (kTenMinutes - 1) / 46439 + 1)
        << useThread;
    EXPECT_EQ(writer->OutputError(), 0) << useThread;
    TearDown();
  }
}

TEST_F(WriterThread, TellsOfASilenceThatNobodyWrites) {
  state->nextType = [] { return 0; };
  for (const int useThread : {0, 1}) {
    SetUp();
    MediaFormat format = SoundFormat();
    format.SetInt32("use-thread", useThread);
    Begin(format);
    Video(0);
    Audio(int64_t{600} * 1000000, kSoundBytes);
    EXPECT_EQ(writer->OutputError(), AVERROR(EINVAL)) << useThread;
    TearDown();
  }
}

TEST_F(WriterThread, DropsWhatASlowEncoderCannotTake) {
  state->delay = std::chrono::microseconds(300);
  Begin(Threaded(VideoFormat(), true));
  for (int i = 1; i <= 500; ++i) Video(i);
  writer->Stop();
  const std::vector<int64_t> times = state->VideoTimes();
  EXPECT_GE(times.size(), 5U);
  EXPECT_EQ(static_cast<int>(times.size()) + Logged(kLogDebug, "discard video frame"), 500);
  EXPECT_TRUE(std::is_sorted(times.begin(), times.end()));
}

TEST_F(WriterThread, StopsCleanlyAtAnyMoment) {
  constexpr unsigned kSeed = 4099;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  for (int run = 0; run < 60; ++run) {
    state = std::make_shared<EncoderState>();
    state->delay = std::chrono::microseconds(random() % 100);
    Begin(Threaded(SoundFormat(), random() % 2 == 0));
    const int frames = static_cast<int>(random() % 40);
    for (int i = 0; i < frames; ++i) {
      Video(i * 40000);
      if (random() % 2 == 0) Audio(i * 40000, static_cast<int>(random() % 9000));
    }
    const bool explicitly = random() % 2 == 0;
    if (explicitly) writer->Stop();
    writer.reset();
    const std::vector<int64_t> times = state->VideoTimes();
    const std::string kinds = state->Kinds();
    EXPECT_EQ(std::count(kinds.begin(), kinds.end(), 'C'), 1);
    EXPECT_EQ(kinds.substr(kinds.size() - 2), "CD");
    EXPECT_TRUE(std::is_sorted(times.begin(), times.end()));
  }
}

TEST_F(WriterThread, AnswersParametersWhileItEncodes) {
  Begin(Threaded(VideoFormat(), false));
  std::atomic<bool> done{false};
  std::thread asker([&] {
    while (!done) EXPECT_EQ(writer->GetParameter("sample-rate"), 44100);
  });
  for (int i = 0; i < 200; ++i) Video(i);
  done = true;
  asker.join();
  writer->Stop();
  EXPECT_EQ(state->VideoTimes().size(), 200U);
}

class CountingWork : public MWScheduler::Work {
 public:
  void ScheduleOnce() override { ++steps; }
  void Flush() override { ++flushes; }
  std::atomic<int> steps{0};
  std::atomic<int> flushes{0};
};

TEST(MWScheduler, StartsOneThreadAndFlushesAtItsEnd) {
  CountingWork work;
  MWScheduler scheduler(&work);
  EXPECT_FALSE(scheduler.running);
  scheduler.Start();
  scheduler.Start();
  while (work.steps < 3) std::this_thread::yield();
  EXPECT_EQ(work.flushes, 0);
  scheduler.running = false;
  scheduler.Join();
  EXPECT_EQ(work.flushes, 1);
}

}  // namespace
}  // namespace codec
