// SPDX-License-Identifier: MIT
// Each model of writer that can be built writes a file; what is in it is read back by ffmpeg.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "codec/writer/media_writer_factory.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/log_capture.h"
#include "tests/support/media_reading.h"

namespace codec {
namespace {

using test_support::Picture;

constexpr int kWidth = 128;
constexpr int kHeight = 96;
constexpr int kFrames = 10;

enum Quarter { kTopLeft, kTopRight, kBottomLeft, kBottomRight };

struct Model {
  const char* name;
  bool scaled;
  int rotation;
  bool waterMark;
  bool withFilter;
  int width;
  int height;
  Quarter first;  // where the bright quarter of the first picture (top left) comes out
  Quarter last;   // and that of the last one (bottom right)
};

// The target is 64x80, so that a picture that was not turned cannot pass for one that was.
constexpr Model kModels[] = {
    {"color", false, 0, false, true, kWidth, kHeight, kTopLeft, kBottomRight},
    {"color_ignores_rotation", false, 180, false, true, kWidth, kHeight, kTopLeft, kBottomRight},
    {"scale", true, 0, false, true, 64, 80, kTopLeft, kBottomRight},
    {"turn_90", true, 90, false, true, 80, 64, kTopRight, kBottomLeft},
    {"turn_180", true, 180, false, true, 64, 80, kBottomRight, kTopLeft},
    {"turn_270", true, 270, false, true, 80, 64, kBottomLeft, kTopRight},
    {"water_mark", false, 0, true, true, kWidth, kHeight, kTopLeft, kBottomRight},
    {"water_mark_turn_90", true, 90, true, true, 80, 64, kTopRight, kBottomLeft},
    {"without_filter", false, 0, false, false, kWidth, kHeight, kTopLeft, kBottomRight},
};

MediaFormat Describe(const Model& model, const std::string& output) {
  MediaFormat format;
  format.SetString("video-codec", "libx264");
  format.SetInt32("has-video", 1);
  format.SetInt32("width", kWidth);
  format.SetInt32("height", kHeight);
  format.SetDouble("frame-rate", 25);
  format.SetInt32("video-bitrate", 1000000);
  format.SetString("input-color-format", model.withFilter ? "bgra" : "yuv420p");
  format.SetString("output-color-format", "yuv420p");
  format.SetInt32("auto-discard-video", 0);
  format.SetString("output-path", output.c_str());
  if (model.scaled) {
    format.SetInt32("target-width", 64);
    format.SetInt32("target-height", 80);
  }
  format.SetInt32("rotation", model.rotation);
  if (model.waterMark) {
    // All of one colour, which adds nothing to a picture.
    const std::string logo = test_support::CustomClip(
        "plain_logo.png",
        {"-f", "lavfi", "-i", "color=gray:size=40x20,format=rgb24", "-frames:v", "1"});
    format.SetInt32("has-water-mark", 1);
    format.SetString("logo-path", logo.c_str());
    format.SetInt32("water-mark-pos", 2);
  }
  return format;
}

// Dark but for one quarter: "bgra", or "yuv420p" with colours in the middle.
std::vector<uint8_t> Draw(bool isBgra, Quarter bright) {
  const int left = bright == kTopRight || bright == kBottomRight ? kWidth / 2 : 0;
  const int top = bright == kBottomLeft || bright == kBottomRight ? kHeight / 2 : 0;
  const int pixelBytes = isBgra ? 4 : 1;
  std::vector<uint8_t> picture(
      static_cast<size_t>(isBgra ? kWidth * kHeight * 4 : kWidth * kHeight * 3 / 2),
      isBgra ? uint8_t{20} : uint8_t{128});
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const bool inQuarter =
          x >= left && x < left + kWidth / 2 && y >= top && y < top + kHeight / 2;
      std::fill_n(picture.begin() + (y * kWidth + x) * pixelBytes, pixelBytes,
                  inQuarter ? uint8_t{220} : uint8_t{20});
    }
  }
  return picture;
}

double MeanOf(const Picture& picture, Quarter quarter) {
  const int left = quarter == kTopRight || quarter == kBottomRight ? picture.width / 2 : 0;
  const int top = quarter == kBottomLeft || quarter == kBottomRight ? picture.height / 2 : 0;
  double sum = 0;
  for (int y = top; y < top + picture.height / 2; ++y) {
    for (int x = left; x < left + picture.width / 2; ++x) {
      sum += picture.luma[static_cast<size_t>(y * picture.width + x)];
    }
  }
  return sum / (picture.width / 2 * (picture.height / 2));
}

void ExpectOnlyBright(const Picture& picture, Quarter bright) {
  for (const Quarter quarter : {kTopLeft, kTopRight, kBottomLeft, kBottomRight}) {
    if (quarter == bright) {
      EXPECT_GT(MeanOf(picture, quarter), 150) << quarter;
    } else {
      EXPECT_LT(MeanOf(picture, quarter), 60) << quarter;
    }
  }
}

class WriterOutput : public testing::TestWithParam<Model> {};

TEST_P(WriterOutput, HasTheSizeOrientationAndPicturesOfItsModel) {
  const Model& model = GetParam();
  const test_support::LogCapture log;
  const std::string output = test_support::ScratchPath(std::string(model.name) + ".mp4");
  MediaFormat format = Describe(model, output);
  const std::unique_ptr<MediaWriter> writer(
      model.withFilter ? MakeMediaWriter(format) : MakeMediaWriterWithoutFilter(format));
  ASSERT_NE(writer, nullptr);
  ASSERT_EQ(writer->Start(), 0);
  for (int frame = 0; frame < kFrames; ++frame) {
    const Quarter bright = frame == 0 ? kTopLeft : frame == kFrames - 1 ? kBottomRight : kTopRight;
    std::vector<uint8_t> picture = Draw(model.withFilter, bright);
    writer->WriteFrame(1, picture.data(), static_cast<uint32_t>(picture.size()),
                       int64_t{frame} * 40000);
  }
  writer->Stop();

  const std::vector<Picture> pictures = test_support::DecodeLuma(output);
  ASSERT_EQ(pictures.size(), static_cast<size_t>(kFrames));
  EXPECT_EQ(pictures[0].width, model.width);
  EXPECT_EQ(pictures[0].height, model.height);
  ExpectOnlyBright(pictures.front(), model.first);
  ExpectOnlyBright(pictures.back(), model.last);
}

INSTANTIATE_TEST_SUITE_P(Models, WriterOutput, testing::ValuesIn(kModels),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

}  // namespace
}  // namespace codec
