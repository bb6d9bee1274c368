// SPDX-License-Identifier: MIT
// Pixels that are no squares, if the container says so and the pictures do not.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

struct Shape {
  const char* name;
  const char* container;
  const char* coding;
};

void PrintTo(const Shape& shape, std::ostream* out) { *out << shape.name; }

// The pictures of Motion JPEG say 1:1, those of the others nothing.
constexpr Shape kShapes[] = {
    {"prores", "mov", "-c:v prores_ks"},
    {"dnxhd", "mov", "-c:v dnxhd -profile:v dnxhr_hq -pix_fmt yuv422p"},
    {"raw", "mkv", "-c:v rawvideo -pix_fmt yuv420p -allow_raw_vfw 1"},
    {"jpeg", "avi", "-c:v mjpeg -pix_fmt yuvj420p"},
};

std::string Square(const Shape& shape) {
  std::vector<std::string> words = {"-f", "lavfi", "-i", "testsrc2=s=256x144:r=25:d=0.4"};
  AppendWords(shape.coding, &words);
  return CustomClip(std::string("square_") + shape.name + "." + shape.container, words);
}

// The same packets; the container alone says how they are shown.
std::string Narrow(const Shape& shape) {
  return CustomClip(std::string("narrow_") + shape.name + "." + shape.container,
                    {"-i", Square(shape), "-c", "copy", "-aspect", "4:3"});
}

std::string ShapeOf(const std::string& path) {
  return StreamFields(path, "v")["sample_aspect_ratio"];
}

class PixelShape : public testing::TestWithParam<Shape> {};

TEST_P(PixelShape, StaysThatOfTheContainer) {
  const Shape& shape = GetParam();
  const std::string source = Narrow(shape);
  ASSERT_EQ(ShapeOf(source), "3:4");
  const std::string own = std::string(".") + shape.container;
  const struct {
    std::string output;
    std::vector<std::string> options;
  } kRuns[] = {
      {ScratchPath("usual.mp4"), {}},
      {ScratchPath("like" + own), {"--like-source"}},
      {ScratchPath("copied" + own), {"--copy"}},
      {ScratchPath("copied.mkv"), {"--copy"}},
  };
  for (const auto& run : kRuns) {
    std::vector<std::string> words = {"-i", source, "-o", run.output};
    words.insert(words.end(), run.options.begin(), run.options.end());
    const CommandResult result = RunProgram(words);
    ASSERT_EQ(result.status, 0) << run.output << " " << result.err;
    EXPECT_EQ(ShapeOf(run.output), "3:4") << run.output;
  }
}

INSTANTIATE_TEST_SUITE_P(Codecs, PixelShape, testing::ValuesIn(kShapes),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
}  // namespace test_support
