// SPDX-License-Identifier: MIT
#include "codec/writer/media_writer_factory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "codec/filter/listener_registry.h"
#include "codec/writer/media_buffer_pool.h"
#include "tests/support/command.h"
#include "tests/support/log_capture.h"
#include "tests/support/media_reading.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::MediaWriter";
constexpr int kWidth = 64;
constexpr int kHeight = 48;

class WriterFactory : public testing::Test {
 protected:
  void SetUp() override {
    path = test_support::ScratchPath("writer_factory.mp4");
    format.SetInt32("has-video", 1);
    format.SetInt32("has-audio", 0);
    format.SetInt32("width", kWidth);
    format.SetInt32("height", kHeight);
    format.SetDouble("frame-rate", 25);
    format.SetInt32("video-bitrate", 200000);
    format.SetInt32("gop", 12);
    format.SetString("video-codec", "libx264");
    format.SetString("preset", "superfast");
    format.SetString("profile", "baseline");
    format.SetString("input-color-format", "bgra");
    format.SetString("output-color-format", "yuv420p");
    format.SetString("output-path", path.c_str());
    format.SetDouble("speed", 1.0);
  }
  void TearDown() override { MediaBufferPool::Instance()->Reset(); }

  void ExpectNull(std::vector<std::string> errors) {
    EXPECT_EQ(std::unique_ptr<MediaWriter>(MakeMediaWriter(format)), nullptr);
    std::vector<std::string> logged;
    for (const test_support::LogLine& line : log.Lines()) {
      if (line.tag == kTag && line.level == kLogError) logged.push_back(line.text);
    }
    EXPECT_EQ(logged, errors);
  }
  bool Info(const std::string& text) { return log.Count(kLogInfo, kTag, text) == 1; }

  // Writes ten grey pictures of this size and stops.
  void Write(MediaWriter& writer, int bytes) {
    ASSERT_EQ(writer.Start(), 0);
    std::vector<uint8_t> picture(static_cast<size_t>(bytes), 128);
    for (int i = 0; i < 10; ++i) {
      writer.WriteFrame(1, picture.data(), static_cast<uint32_t>(bytes), i * 40000);
    }
    writer.Stop();
  }
  // Builds, writes 32-bit pictures and compares the size of the file's pictures.
  void ExpectFile(int width, int height) {
    const std::unique_ptr<MediaWriter> writer(MakeMediaWriter(format));
    ASSERT_NE(writer, nullptr);
    Write(*writer, kWidth * kHeight * 4);
    const auto fields = test_support::StreamFields(path, "v");
    EXPECT_EQ(fields.at("width"), std::to_string(width));
    EXPECT_EQ(fields.at("height"), std::to_string(height));
    EXPECT_EQ(test_support::VideoTimes(path).size(), 10U);
  }
  int FrameSizeKey() {
    int size = -7;
    format.GetInt32("video-frame-size", size);
    return size;
  }

  test_support::LogCapture log;
  MediaFormat format;
  std::string path;
};

TEST_F(WriterFactory, NeedsAVideoCodec) {
  format = MediaFormat();
  format.SetInt32("has-video", 1);
  ExpectNull({"not set video codec"});
}

TEST_F(WriterFactory, NeedsTheInputsDescription) {
  const std::pair<const char*, const char*> rows[] = {
      {"output-color-format", "not set output color format"},
      {"input-color-format", "not set input color format"},
      {"height", "not set input height"},
      {"width", "not set input width"}};
  // One more key is missing each time; the first in the order of the checks is named.
  std::vector<std::string> missing;
  const MediaFormat whole = format;
  for (const auto& [key, complaint] : rows) {
    missing.emplace_back(key);
    format = MediaFormat();
    for (const auto& [name, value] : whole.Entries()) {
      if (std::find(missing.begin(), missing.end(), name) == missing.end()) {
        format.SetString(name.c_str(), value.c_str());
      }
    }
    for (const char* codec : {"libx264", "vomx2"}) {
      log.Clear();
      format.SetString("video-codec", codec);
      ExpectNull({complaint});
    }
  }
}

TEST_F(WriterFactory, ConvertsColorsAtEqualSizes) {
  ExpectFile(kWidth, kHeight);
  EXPECT_TRUE(Info("MakeMediaWriterWithFilter begin..."));
  EXPECT_TRUE(Info("media_writer type:MediaWriterColorFilter"));
  EXPECT_EQ(FrameSizeKey(), kWidth * kHeight * 3 / 2);
  EXPECT_TRUE(log.Has(kLogDebug, "codec::MediaFormat", "video-codec===>libx264"));
}

TEST_F(WriterFactory, IgnoresRotationForTheChainAtEqualSizesButNotForTheEncoder) {
  format.SetInt32("rotation", 90);
  ExpectFile(kHeight, kWidth);
  EXPECT_TRUE(Info("media_writer type:MediaWriterColorFilter"));
}

TEST_F(WriterFactory, ScalesToTheTarget) {
  format.SetInt32("target-width", 32);
  format.SetInt32("target-height", 24);
  ExpectFile(32, 24);
  EXPECT_TRUE(Info("media_writer type:MediaWriterColorScaleFilter"));
  EXPECT_EQ(FrameSizeKey(), 32 * 24 * 3 / 2);
}

TEST_F(WriterFactory, ScalesAndTurns) {
  format.SetInt32("target-width", 32);
  format.SetInt32("target-height", 24);
  format.SetInt32("rotation", 270);
  ExpectFile(24, 32);
  EXPECT_TRUE(Info("media_writer type:MediaWriterColorScaleRotateFilter"));
}

TEST_F(WriterFactory, BuildsNoLogoIntoTheTurningModel) {
  format.SetInt32("target-width", 32);
  format.SetInt32("target-height", 24);
  format.SetInt32("rotation", 90);
  format.SetInt32("has-water-mark", 1);
  ExpectFile(24, 32);
  EXPECT_TRUE(Info("media_writer type:MediaWriterWaterMarkColorScaleRotateFilter"));
}

TEST_F(WriterFactory, CannotScaleUnderALogo) {
  format.SetInt32("target-width", 32);
  format.SetInt32("target-height", 24);
  format.SetInt32("has-water-mark", 1);
  ExpectNull({"not supported MediaWriter model:6", "create MediaFitler error"});
  EXPECT_TRUE(Info("media_writer type:MediaWriterWaterMarkColorScaleFilter"));
}

TEST_F(WriterFactory, ReportsAChainThatCannotBeBuilt) {
  // A logo without a path.
  format.SetInt32("has-water-mark", 1);
  ExpectNull({"create MediaFitler error"});
  EXPECT_TRUE(Info("media_writer type:MediaWriterWaterMarkColorFilter"));
  EXPECT_EQ(ListenerRegistry::Instance().GetListener(), nullptr);
}

TEST_F(WriterFactory, ReportsAnEncoderThatCannotBeConfigured) {
  // A spelling that the filters know and the encoder does not.
  format.SetString("output-color-format", "842094169");
  ExpectNull({"create MediaEncoder error"});
  log.Clear();
  format.SetString("video-codec", "vomx2");
  ExpectNull({"create MediaEncoder error"});
}

TEST_F(WriterFactory, ReportsAnOutputThatCannotBeOpened) {
  format.SetString("output-path", (path + ".missing/out.mp4").c_str());
  ExpectNull({"MediaWriter Configure error"});
}

TEST_F(WriterFactory, GoesWithoutFilterForTheRawInputCodec) {
  format.SetInt32("target-width", 32);
  format.SetInt32("target-height", 24);
  format.SetString("video-codec", "vomx2");
  // No build of the encoding library has this encoder, so that opening it fails.
  ExpectNull({"MediaWriter Configure error"});
  EXPECT_TRUE(Info("MakeMediaWriterWithoutFilter begin..."));
  EXPECT_FALSE(Info("MakeMediaWriterWithFilter begin..."));
}

TEST_F(WriterFactory, GoesThroughTheChainForCodecsThatOnlyResembleIt) {
  for (const char* codec : {"vomx", "vomx22", "VOMX2"}) {
    log.Clear();
    format.SetString("video-codec", codec);
    EXPECT_EQ(std::unique_ptr<MediaWriter>(MakeMediaWriter(format)), nullptr);
    EXPECT_TRUE(Info("MakeMediaWriterWithFilter begin...")) << codec;
  }
}

TEST_F(WriterFactory, PassesPicturesAsTheyAreWithoutFilter) {
  format.SetInt32("target-width", 32);
  format.SetInt32("target-height", 24);
  format.SetString("input-color-format", "yuv420p");
  const std::unique_ptr<MediaWriter> writer(MakeMediaWriterWithoutFilter(format));
  ASSERT_NE(writer, nullptr);
  EXPECT_TRUE(Info("MakeMediaWriterWithoutFilter done."));
  EXPECT_EQ(FrameSizeKey(), kWidth * kHeight * 3 / 2);
  Write(*writer, kWidth * kHeight * 3 / 2);
  EXPECT_EQ(test_support::StreamFields(path, "v").at("width"), std::to_string(kWidth));
  EXPECT_EQ(test_support::VideoTimes(path).size(), 10U);
}

TEST_F(WriterFactory, WritesSoundAlone) {
  path = test_support::ScratchPath("writer_factory.m4a");
  format = MediaFormat();
  format.SetInt32("has-video", 0);
  format.SetInt32("has-audio", 1);
  format.SetString("video-codec", "none");
  format.SetString("audio-codec", "aac");
  format.SetInt32("audio-bit-rate", 64000);
  format.SetInt32("sample-rate", 44100);
  format.SetInt32("channel-count", 2);
  format.SetInt32("sample-format", 8);
  format.SetInt32("auto-discard-audio", 0);
  format.SetInt32("enable-av-sync", 0);
  format.SetString("output-path", path.c_str());
  const std::unique_ptr<MediaWriter> writer(MakeMediaWriter(format));
  ASSERT_NE(writer, nullptr);
  EXPECT_TRUE(Info("MakeMediaWriterWithoutFilter begin..."));
  EXPECT_EQ(FrameSizeKey(), 0);
  ASSERT_EQ(writer->Start(), 0);
  // A second of a 441 Hz tone in blocks that fit no encoder frame.
  constexpr int kSamples = 441;
  std::vector<float> block(2 * kSamples);
  for (int i = 0; i < kSamples; ++i) {
    const float value = 0.5F * std::sin(6.2831853F * static_cast<float>(i) / 100.0F);
    block[static_cast<size_t>(2 * i)] = block[static_cast<size_t>(2 * i + 1)] = value;
  }
  for (int i = 0; i < 100; ++i) {
    writer->WriteFrame(2, reinterpret_cast<uint8_t*>(block.data()),
                       static_cast<uint32_t>(block.size() * sizeof(float)), i * 10000);
  }
  writer->Stop();
  const std::vector<float> sound = test_support::DecodeStereo(path);
  EXPECT_GE(sound.size() / 2, 44100U);
  EXPECT_LE(sound.size() / 2, 44100U + 3 * 1024U);
}

}  // namespace
}  // namespace codec
