// SPDX-License-Identifier: MIT
// A writer over a fake encoder, for tests.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

#include "codec/writer/media_buffer_pool.h"
#include "codec/writer/media_writer_impl.h"
#include "tests/codec/writer/fake_encoder.h"
#include "tests/support/log_capture.h"

namespace codec {

constexpr char kWriterTag[] = "codec::MediaWriterImpl";
constexpr int kPictureBytes = 16;

// What a writer of pictures of kPictureBytes needs.
inline MediaFormat VideoFormat() {
  MediaFormat format;
  format.SetInt32("video-frame-size", kPictureBytes);
  format.SetDouble("speed", 1.0);
  return format;
}

// The same with stereo float at 44.1 kHz.
inline MediaFormat SoundFormat() {
  MediaFormat format = VideoFormat();
  format.SetInt32("has-audio", 1);
  format.SetInt32("sample-rate", 44100);
  format.SetInt32("channel-count", 2);
  return format;
}

class WriterTest : public testing::Test {
 protected:
  void SetUp() override { MediaBufferPool::Instance()->Reset(); }
  void TearDown() override {
    writer.reset();
    MediaBufferPool::Instance()->Reset();
  }

  void Make(MediaFilter* filter = nullptr) {
    writer = std::make_unique<MediaWriterImpl>(new FakeEncoder(state), filter);
  }
  // Makes, configures and starts a writer.
  void Begin(MediaFormat format, MediaFilter* filter = nullptr) {
    Make(filter);
    ASSERT_EQ(writer->Configure(format), 0);
    ASSERT_EQ(writer->Start(), 0);
  }
  void Video(int64_t pts, int bytes = kPictureBytes, uint8_t value = 1) {
    std::vector<uint8_t> picture(static_cast<size_t>(bytes), value);
    writer->WriteFrame(1, picture.data(), static_cast<uint32_t>(bytes), pts);
  }
  void Audio(int64_t pts, int bytes, uint8_t value = 1) {
    std::vector<uint8_t> sound(static_cast<size_t>(bytes), value);
    writer->WriteFrame(2, sound.data(), static_cast<uint32_t>(bytes), pts);
  }
  int Logged(int level, const char* text) const { return log.Count(level, kWriterTag, text); }

  test_support::LogCapture log;
  std::shared_ptr<EncoderState> state = std::make_shared<EncoderState>();
  std::unique_ptr<MediaWriterImpl> writer;
};

}  // namespace codec
