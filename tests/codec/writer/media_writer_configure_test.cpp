// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "codec/filter/listener_registry.h"
#include "tests/codec/writer/writer_fixture.h"

namespace codec {
namespace {

using Lines = std::vector<std::string>;

class WriterConfigure : public WriterTest {
 protected:
  int Configure(MediaFormat format) {
    if (!writer) Make();
    return writer->Configure(format);
  }
  // Configures sound with this change and expects one error line with this text.
  void ExpectRefusal(const MediaFormat& format, const char* text) {
    EXPECT_EQ(Configure(format), -1);
    EXPECT_EQ(Logged(kLogError, text), 1) << text;
  }
};

TEST_F(WriterConfigure, LogsItsStepsInOrder) {
  MediaFormat format = SoundFormat();
  EXPECT_EQ(Configure(format), 0);
  EXPECT_EQ(log.Texts(kWriterTag),
            (Lines{"Configure MediaWriterImpl...", "auto_discard_audio_:1",
                   "AudioProcessImpl without noise suppression", "audio frame size:8192",
                   "audio frame duration:46439", "use_thread_:0",
                   "Configure MediaWriterImpl successfully"}));
  for (const test_support::LogLine& line : log.Lines()) EXPECT_EQ(line.level, kLogDebug);
}

TEST_F(WriterConfigure, FailsWithoutAnEncoder) {
  writer = std::make_unique<MediaWriterImpl>(nullptr, nullptr);
  MediaFormat format = VideoFormat();
  EXPECT_EQ(writer->Configure(format), -1);
  EXPECT_EQ(Logged(kLogError, "MediaEncoder object  is null"), 1);
  EXPECT_EQ(writer->Start(), -1);
  EXPECT_EQ(Logged(kLogError, "no encoder setup"), 1);
  EXPECT_EQ(writer->GetParameter("sample-rate"), -1);
}

TEST_F(WriterConfigure, FailsWhenTheEncoderCannotOpenAndStillClosesIt) {
  state->openResult = -5;
  ExpectRefusal(VideoFormat(), "MediaEncoder Open failed");
  writer.reset();
  EXPECT_EQ(state->Kinds(), "OCD");
}

TEST_F(WriterConfigure, NeedsTheVideoFrameSize) {
  ExpectRefusal(MediaFormat(), "video frame size not set");
  EXPECT_EQ(Logged(kLogWarn, "not set speed"), 0);
}

TEST_F(WriterConfigure, WarnsOfMissingSpeedAndTakesOne) {
  MediaFormat format;
  format.SetInt32("video-frame-size", 16);
  Make();
  writer->SetParameter("speed", 0.25);
  EXPECT_EQ(Configure(format), 0);
  EXPECT_EQ(Logged(kLogWarn, "not set speed"), 1);
  EXPECT_EQ(writer->Speed(), 1.0);
}

TEST_F(WriterConfigure, SizesTheScratchBufferForSlowedSound) {
  MediaFormat format = SoundFormat();
  EXPECT_EQ(Configure(format), 0);
  EXPECT_EQ(writer->AudioScratchSize(), 0U);
  format.SetDouble("speed", 0.5);
  EXPECT_EQ(Configure(format), 0);
  EXPECT_EQ(writer->Speed(), 0.5);
  EXPECT_EQ(writer->AudioScratchSize(), 8192U);
}

TEST_F(WriterConfigure, FillsThePoolWithBuffersOfBothSizes) {
  EXPECT_EQ(Configure(SoundFormat()), 0);
  MediaBufferPool* const pool = MediaBufferPool::Instance();
  for (int i = 0; i < 5; ++i) {
    const std::unique_ptr<MediaBuffer> video(pool->TakeVideo());
    ASSERT_NE(video, nullptr);
    EXPECT_EQ(video->size, kPictureBytes);
  }
  EXPECT_EQ(pool->TakeVideo(), nullptr);
  EXPECT_EQ(std::unique_ptr<MediaBuffer>(pool->TakeAudio())->size, 8192);
}

TEST_F(WriterConfigure, SkipsEveryAudioKeyWithoutAudio) {
  MediaFormat format = VideoFormat();
  EXPECT_EQ(Configure(format), 0);
  for (const int value : {0, 2, -1}) {
    format.SetInt32("has-audio", value);
    EXPECT_EQ(Configure(format), 0) << value;
  }
}

TEST_F(WriterConfigure, NeedsTheSampleRate) {
  MediaFormat format = VideoFormat();
  format.SetInt32("has-audio", 1);
  ExpectRefusal(format, "audio sample rate not set");
}

TEST_F(WriterConfigure, NeedsTheChannelCount) {
  MediaFormat format = VideoFormat();
  format.SetInt32("has-audio", 1);
  format.SetInt32("sample-rate", 44100);
  ExpectRefusal(format, "audio channels not set");
}

TEST_F(WriterConfigure, NeedsTheEncodersFrameSize) {
  state->audioFrameSize = 0;
  ExpectRefusal(SoundFormat(), "get audio frame size failed");
}

TEST_F(WriterConfigure, NeedsTheEncodersSampleRate) {
  state->sampleRate = 0;
  ExpectRefusal(SoundFormat(), "get audioFrameDuration failed");
}

TEST_F(WriterConfigure, RefusesFramesThatHaveNoSize) {
  MediaFormat format = SoundFormat();
  format.SetInt32("sample-format", 99);
  ExpectRefusal(format, "invalid audio frame size(-1)");
  log.Clear();
  format = SoundFormat();
  format.SetInt32("channel-count", 0);
  ExpectRefusal(format, "invalid audio frame size(-1)");
}

TEST_F(WriterConfigure, RefusesFramesBeyondTheRangeOfASize) {
  state->audioFrameSize = std::numeric_limits<int>::max();
  MediaFormat format = SoundFormat();
  format.SetInt32("channel-count", std::numeric_limits<int>::max());
  ExpectRefusal(format, "invalid audio frame size(-1)");
}

TEST_F(WriterConfigure, DerivesSizeAndDurationFromTheSampleFormat) {
  struct Row {
    int format;
    const char* size;
    const char* duration;
  };
  // 1024 samples, two channels, 44.1 kHz; numbers are FFmpeg's.
  const Row rows[] = {{0, "audio frame size:2048", "audio frame duration:46439"},
                      {5, "audio frame size:2048", "audio frame duration:46439"},
                      {1, "audio frame size:4096", "audio frame duration:46439"},
                      {2, "audio frame size:8192", "audio frame duration:46439"},
                      {8, "audio frame size:8192", "audio frame duration:46439"},
                      {9, "audio frame size:16384", "audio frame duration:46439"}};
  for (const Row& row : rows) {
    log.Clear();
    MediaFormat format = SoundFormat();
    format.SetInt32("sample-format", row.format);
    EXPECT_EQ(Configure(format), 0);
    EXPECT_EQ(Logged(kLogDebug, row.size), 1) << row.format;
    EXPECT_EQ(Logged(kLogDebug, row.duration), 1) << row.format;
  }
}

// A writer whose reframer cannot be initialised.
class MuteWriter : public MediaWriterImpl {
 public:
  using MediaWriterImpl::MediaWriterImpl;

 protected:
  class Process : public vux::AudioProcess {
   public:
    int Init() override { return -1; }
    int SetSampleRate(int) override { return 0; }
    int SetChannels(int) override { return 0; }
    int Push(const uint8_t*, int) override { return 0; }
    int Pull(uint8_t*, int) override { return 0; }
    int Flush(uint8_t*, int) override { return 0; }
    int FrameCount(int) override { return 0; }
  };

  std::unique_ptr<vux::AudioProcess> NewAudioProcess() const override {
    return std::make_unique<Process>();
  }
};

TEST_F(WriterConfigure, FailsWhenTheReframerCannotBeInitialised) {
  writer = std::make_unique<MuteWriter>(new FakeEncoder(state), nullptr);
  ExpectRefusal(SoundFormat(), "AudioProcessImpl init error");
  // The failed one was thrown away: another attempt makes another one.
  EXPECT_EQ(Configure(SoundFormat()), -1);
  EXPECT_EQ(Logged(kLogDebug, "AudioProcessImpl without noise suppression"), 2);
}

TEST_F(WriterConfigure, MakesTheReframerOnce) {
  EXPECT_EQ(Configure(SoundFormat()), 0);
  EXPECT_EQ(Configure(SoundFormat()), 0);
  EXPECT_EQ(Logged(kLogDebug, "AudioProcessImpl without noise suppression"), 1);
}

TEST_F(WriterConfigure, TakesFlagsAsTrueOnlyAtOne) {
  MediaFormat format = VideoFormat();
  format.SetInt32("auto-discard-audio", 2);
  format.SetInt32("use-thread", 7);
  EXPECT_EQ(Configure(format), 0);
  EXPECT_EQ(Logged(kLogDebug, "auto_discard_audio_:0"), 1);
  EXPECT_EQ(Logged(kLogDebug, "use_thread_:0"), 1);
  format.SetInt32("auto-discard-audio", 1);
  format.SetInt32("use-thread", 1);
  EXPECT_EQ(Configure(format), 0);
  EXPECT_EQ(Logged(kLogDebug, "auto_discard_audio_:1"), 1);
  EXPECT_EQ(Logged(kLogDebug, "use_thread_:1"), 1);
}

TEST_F(WriterConfigure, StartsOnceAndStopsOnce) {
  Begin(VideoFormat());
  log.Clear();
  EXPECT_EQ(writer->Start(), 0);
  writer->Stop();
  writer->Stop();
  EXPECT_EQ(log.Texts(kWriterTag),
            (Lines{"MediaWriterImpl starting...", "MediaWriterImpl has been started.",
                   "MediaWriterImpl Stop", "Flush...", "Flush done", "MediaWriterImpl Stop",
                   "not running"}));
  EXPECT_EQ(state->Kinds(), "OC");
  EXPECT_EQ(MediaBufferPool::Instance()->TakeVideo(), nullptr);
}

TEST_F(WriterConfigure, LogsAThreadedLife) {
  MediaFormat format = VideoFormat();
  format.SetInt32("use-thread", 1);
  Begin(format);
  log.Clear();
  writer->Stop();
  EXPECT_EQ(log.Texts(kWriterTag),
            (Lines{"MediaWriterImpl Stop", "Flush...", "Flush done", "MWScheduler stopped"}));
  EXPECT_EQ(state->Kinds(), "OC");
}

TEST_F(WriterConfigure, ClosesTheEncoderAlsoWhenNeverStarted) {
  EXPECT_EQ(Configure(VideoFormat()), 0);
  writer.reset();
  EXPECT_EQ(state->Kinds(), "OCD");
}

TEST_F(WriterConfigure, ForwardsParametersToTheEncoder) {
  Make();
  state->audioFrameSize = 960;
  EXPECT_EQ(writer->GetParameter("audio-frame-size"), 960);
  EXPECT_EQ(writer->GetParameter("surface"), 0);
}

TEST_F(WriterConfigure, SetsOnlySpeedAmongRealParameters) {
  Make();
  EXPECT_EQ(writer->Speed(), 1.0);
  writer->SetParameter("speed", 2.5);
  writer->SetParameter("frame-rate", 9.0);
  writer->SetParameter(nullptr, 9.0);
  writer->SetParameter(nullptr, 9);
  EXPECT_EQ(writer->Speed(), 2.5);
}

class NotingListener : public Listener {
 public:
  int32_t OnEvent(int32_t what, int32_t arg1) override {
    events.emplace_back(what, arg1);
    return 0;
  }
  std::vector<std::pair<int32_t, int32_t>> events;
};

TEST_F(WriterConfigure, SendsWaterMarkParametersAsEvents) {
  Make();
  NotingListener listener;
  ListenerRegistry::Instance().SetListener(&listener);
  writer->SetParameter("water-mark-pos", 0x50003);
  writer->SetParameter("water-mark-rotation", 270);
  writer->SetParameter("water-mark-flags", 0x5A0002);
  writer->SetParameter("water-mark-pos", -1);
  writer->SetParameter("water-mark-rotation", -1);
  writer->SetParameter("water-mark-gap", 9);
  using Events = std::vector<std::pair<int32_t, int32_t>>;
  EXPECT_EQ(
      listener.events,
      (Events{{4097, 3}, {4097, 270 * 65536}, {4097, 0x5A0002}, {4097, 0xFFFF}, {4097, -65536}}));
  writer.reset();
  EXPECT_EQ(ListenerRegistry::Instance().GetListener(), nullptr);
}

TEST_F(WriterConfigure, DropsWaterMarkParametersWithoutAListener) {
  Make();
  ListenerRegistry::Instance().SetListener(nullptr);
  writer->SetParameter("water-mark-pos", 1);
}

}  // namespace
}  // namespace codec
