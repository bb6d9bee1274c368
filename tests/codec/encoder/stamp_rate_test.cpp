// SPDX-License-Identifier: MIT
// Files whose picture stamps are finer than their frame rate, as ffprobe sees them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "codec/encoder/ffmpeg_encoder_impl.h"
#include "codec/ffmpeg/ffmpeg_headers.h"
#include "tests/codec/encoder/encoder_fixture.h"
#include "tests/support/command.h"
#include "tests/support/log_capture.h"
#include "tests/support/media_reading.h"

namespace codec {
namespace {

using encoder_test::VideoFormat;
using test_support::LogCapture;
using test_support::ScratchPath;

// Writes a picture at each of these times in microseconds.
void Write(const MediaFormat& format, const std::vector<int64_t>& times, bool sendReceive = false) {
  FFmpegEncoderImpl encoder;
  ASSERT_EQ(encoder_test::Configure(&encoder, format), 0);
  ASSERT_EQ(encoder.Open(), 0);
  if (sendReceive) encoder.ForceSendReceive();
  int number = 0;
  for (const int64_t time : times) {
    std::vector<uint8_t> picture = encoder_test::Picture(number++);
    ASSERT_EQ(encoder.EncodeVideo(picture.data(), 0, time), 0);
  }
  encoder.Close();
}

// The container's own start, a second and more in a transport stream, is left out.
std::vector<double> TimesFromZero(const std::string& path) {
  std::vector<double> times = encoder_test::PacketTimes(path);
  for (size_t i = times.size(); i-- > 0;) times[i] -= times[0];
  return times;
}

void ExpectTimes(const std::string& path, const std::vector<int64_t>& expected, double error) {
  const std::vector<double> times = TimesFromZero(path);
  ASSERT_EQ(times.size(), expected.size()) << path;
  for (size_t i = 0; i < times.size(); ++i) {
    EXPECT_NEAR(times[i], static_cast<double>(expected[i]) / 1e6, error) << path << " " << i;
  }
}

// A burst of 60 a second, a pause of four seconds, a picture each 50 ms.
std::vector<int64_t> VariableTimes() {
  std::vector<int64_t> times;
  for (int i = 0; i < 30; ++i) times.push_back(int64_t{i} * 1000000 / 60);
  for (int i = 0; i < 20; ++i) times.push_back(4500000 + int64_t{i} * 50000);
  return times;
}

TEST(StampRate, KeepsVariableTimesInEveryContainerThatCan) {
  const LogCapture log;
  for (const bool sendReceive : {false, true}) {
    for (const char* name : {"vary.mp4", "vary.mov", "vary.mkv", "vary.ts", "vary.flv"}) {
      const std::string path = ScratchPath(name);
      MediaFormat format = VideoFormat(path);
      format.SetDouble("frame-rate", 20);
      format.SetInt32("stamp-rate", 90000);
      Write(format, VariableTimes(), sendReceive);
      ExpectTimes(path, VariableTimes(), 0.0006);
    }
  }
}

TEST(StampRate, ShowsTheLastPictureUpToTheLengthOfTheVideo) {
  const LogCapture log;
  for (const bool sendReceive : {false, true}) {
    for (const char* name : {"last.mp4", "last.mov", "last.mkv", "last.flv"}) {
      const std::string path = ScratchPath(name);
      MediaFormat format = VideoFormat(path);
      format.SetDouble("frame-rate", 20);
      format.SetInt32("stamp-rate", 90000);
      // The last picture begins at 5.45 s, and a frame lasts 50 ms.
      for (const char* length : {"8.25", "5.475"}) {
        format.SetString("video-length", length);
        Write(format, VariableTimes(), sendReceive);
        ExpectTimes(path, VariableTimes(), 0.0006);
        EXPECT_NEAR(std::stod(test_support::ContainerFields(path)["duration"]), std::stod(length),
                    0.001)
            << path;
      }
    }
  }
}

// Slides, then a burst: at the average rate a picture of the burst would last longer than all that
// comes after it.
std::vector<int64_t> SlowThenFast() {
  std::vector<int64_t> times;
  for (int i = 0; i < 6; ++i) times.push_back(int64_t{i} * 8000000);
  for (int i = 0; i < 10; ++i) times.push_back(48000000 + int64_t{i} * 40000);
  return times;
}

TEST(StampRate, ShowsEveryPictureForItsOwnTime) {
  struct Way {
    const char* codec;
    const char* extension;
    const char* reordered;  // pictures in a row; nullptr for the encoder that answers at once
    bool sendReceive = false;
  };
  constexpr Way kWays[] = {
      {"libx264", ".mp4", nullptr}, {"libx264", ".mov", nullptr},
      {"libx264", ".mkv", nullptr}, {"libx264", ".mp4", nullptr, true},
      {"libx264", ".mp4", "0"},     {"libx264", ".mp4", "3"},
      {"libx264", ".mov", "3"},     {"libx264", ".mkv", "3"},
      {"mpeg4", ".mp4", "2"},       {"ffv1", ".mov", "0"},
      {"ffv1", ".mkv", "0"},
  };
  const LogCapture log;
  for (const Way& way : kWays) {
    const bool isAny = way.reordered != nullptr;
    SCOPED_TRACE(std::string(way.codec) + way.extension + (isAny ? way.reordered : ""));
    const std::string path = ScratchPath(std::string("own_time") + way.extension);
    MediaFormat format = VideoFormat(path);
    format.SetString("video-codec", way.codec);
    format.SetDouble("frame-rate", 0.333);
    format.SetInt32("stamp-rate", 90000);
    format.SetString("video-length", "48.4");
    if (isAny) {
      format.SetInt32("any-encoder", 1);
      if (way.codec != std::string("ffv1")) format.SetString("video-opt:bf", way.reordered);
    }
    Write(format, SlowThenFast(), way.sendReceive);
    EXPECT_NEAR(std::stod(test_support::ContainerFields(path)["duration"]), 48.4, 0.0015);
  }
}

TEST(StampRate, ShowsTheLastPictureForAFrameWhereTheLengthIsNotTold) {
  const LogCapture log;
  for (const char* length : {"0", "5"}) {
    const std::string path = ScratchPath("last_frame.mp4");
    MediaFormat format = VideoFormat(path);
    format.SetDouble("frame-rate", 20);
    format.SetInt32("stamp-rate", 90000);
    format.SetString("video-length", length);
    Write(format, VariableTimes());
    EXPECT_NEAR(std::stod(test_support::ContainerFields(path)["duration"]), 5.5, 0.001) << length;
  }
}

TEST(StampRate, WritesNothingForALengthWithoutPictures) {
  const LogCapture log;
  const std::string path = ScratchPath("no_pictures.mp4");
  MediaFormat format = VideoFormat(path);
  format.SetInt32("stamp-rate", 90000);
  format.SetString("video-length", "5");
  Write(format, {});
  EXPECT_EQ(encoder_test::PacketCount(path, "v"), 0);
}

TEST(StampRate, IsOffUnlessItIsSet) {
  const LogCapture log;
  const std::string path = ScratchPath("grid.mp4");
  MediaFormat format = VideoFormat(path);
  format.SetDouble("frame-rate", 20);
  Write(format, VariableTimes());
  // Half a second at 60 a second comes out as one and a half at 20.
  EXPECT_NEAR(TimesFromZero(path)[29], 29 * 0.05, 1e-4);
}

TEST(StampRate, LeavesTheGridToContainersOfAFixedRate) {
  const LogCapture log;
  for (const char* codec : {"libx264", "mpeg4"}) {
    const std::string path = ScratchPath(std::string(codec) + "_grid.avi");
    MediaFormat format = VideoFormat(path);
    format.SetString("video-codec", codec);
    format.SetInt32("stamp-rate", 90000);
    Write(format, {0, 40000, 80000, 121000, 159000});
    ExpectTimes(path, {0, 40000, 80000, 120000, 160000}, 1e-4);
    EXPECT_EQ(test_support::StreamFields(path, "v")["r_frame_rate"], "25/1");
  }
}

TEST(StampRate, LeavesPicturesAndRateControlAsTheyAre) {
  const LogCapture log;
  for (const char* codec : {"libx264", "mpeg4"}) {
    std::vector<std::vector<std::string>> sizes;
    for (const int rate : {0, 25000, 90000}) {
      const std::string path = ScratchPath("pictures" + std::to_string(rate) + ".mp4");
      MediaFormat format = VideoFormat(path);
      format.SetString("video-codec", codec);
      format.SetInt32("video-bitrate", 20000);
      format.SetInt32("stamp-rate", rate);
      std::vector<int64_t> times;
      for (int i = 0; i < 60; ++i) times.push_back(int64_t{i} * 40000);
      Write(format, times);
      sizes.push_back(encoder_test::Probe(path, "v", "packet=size,flags"));
    }
    EXPECT_EQ(sizes[1], sizes[0]) << codec;
    EXPECT_EQ(sizes[2], sizes[0]) << codec;
  }
}

AVRational RateOf(const std::string& path) {
  const std::string text = test_support::StreamFields(path, "v")["avg_frame_rate"];
  return {std::stoi(text), std::stoi(text.substr(text.find('/') + 1))};
}

struct ConstantRate {
  const char* name;
  double rate;       // as a description carries it, in six digits
  int64_t num, den;  // what it stands for
  int stampRate;
};

constexpr ConstantRate kConstantRates[] = {
    {"film", 23.976, 24000, 1001, 24000}, {"pal", 25, 25, 1, 25000},
    {"ntsc", 29.97, 30000, 1001, 30000},  {"fast", 59.9401, 60000, 1001, 60000},
    {"halves", 12.5, 25, 2, 25000},       {"slides", 0.333333, 1, 3, 1000},
};

class ConstantStampRate : public testing::TestWithParam<ConstantRate> {};

TEST_P(ConstantStampRate, IsTheRateThatPlayersReport) {
  const ConstantRate& row = GetParam();
  const LogCapture log;
  std::vector<int64_t> times;
  for (int64_t i = 0; i < 75; ++i) times.push_back(i * 1000000 * row.den / row.num);
  for (const char* extension : {".mp4", ".mov"}) {
    const std::string path = ScratchPath(row.name + std::string(extension));
    MediaFormat format = VideoFormat(path);
    format.SetDouble("frame-rate", row.rate);
    format.SetInt32("stamp-rate", row.stampRate);
    Write(format, times);
    auto fields = test_support::StreamFields(path, "v");
    const std::string rate = std::to_string(row.num) + "/" + std::to_string(row.den);
    EXPECT_EQ(fields["avg_frame_rate"], rate) << path;
    // FFmpeg takes no rate below one a second for a base rate.
    EXPECT_EQ(row.rate < 1 ? rate : fields["r_frame_rate"], rate) << path;
    const double seconds = 75.0 * static_cast<double>(row.den) / static_cast<double>(row.num);
    EXPECT_NEAR(std::stod(fields["duration"]), seconds, 1e-4) << path;
    ExpectTimes(path, times, 2e-5);
  }
}

TEST_P(ConstantStampRate, IsNearlyKeptByContainersOfCoarseStamps) {
  const ConstantRate& row = GetParam();
  const LogCapture log;
  std::vector<int64_t> times;
  for (int64_t i = 0; i < 75; ++i) times.push_back(i * 1000000 * row.den / row.num);
  for (const char* extension : {".mkv", ".ts"}) {
    const std::string path = ScratchPath(row.name + std::string(extension));
    MediaFormat format = VideoFormat(path);
    format.SetInt32("has-constant-rate", 1);
    format.SetDouble("frame-rate", row.rate);
    format.SetInt32("stamp-rate", row.stampRate);
    Write(format, times);
    ExpectTimes(path, times, 0.0006);
    // Matroska tells the duration of a picture in nanoseconds.
    const AVRational rate = RateOf(path);
    EXPECT_NEAR(av_q2d(rate), static_cast<double>(row.num) / static_cast<double>(row.den), 1e-5)
        << path;
  }
}

INSTANTIATE_TEST_SUITE_P(Rates, ConstantStampRate, testing::ValuesIn(kConstantRates),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

TEST(StampRate, TakesAPictureAnHour) {
  const LogCapture log;
  const std::string path = ScratchPath("hours.mp4");
  MediaFormat format = VideoFormat(path);
  format.SetDouble("frame-rate", 1.0 / 3600);
  format.SetInt32("stamp-rate", 90000);
  format.SetInt32("gop", 0);
  const std::vector<int64_t> times = {0, 3600000000, 7200000000};
  Write(format, times);
  ExpectTimes(path, times, 1e-4);
}

}  // namespace
}  // namespace codec
