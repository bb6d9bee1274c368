// SPDX-License-Identifier: MIT
// The example program: what an embedding program gets out of the writer.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

std::string Recorder() {
  const std::filesystem::path program = ProgramPath();
  return (program.parent_path() / "examples" / "recorder").string();
}

// A logo whose top left pixel is black, which makes black add nothing.
std::string Logo() {
  return CustomClip("logo.png",
                    {"-f", "lavfi", "-i",
                     "color=black:size=200x100,drawbox=x=50:y=25:w=100:h=50:color=white:t=fill,"
                     "format=rgb24",
                     "-frames:v", "1"});
}

std::string Record(const std::string& mode, int useThread) {
  const std::string output = ScratchPath(mode + std::to_string(useThread) + ".mp4");
  const CommandResult result = Run({Recorder(), output, mode, Logo(), std::to_string(useThread)});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "");
  return output;
}

// The packets of one stream, with their stamps and checksums.
std::string Packets(const std::string& path, const std::string& stream) {
  const CommandResult result = Run({"ffmpeg", "-v", "error", "-i", path, "-map", "0:" + stream,
                                    "-c", "copy", "-f", "framemd5", "-"});
  EXPECT_EQ(result.status, 0) << result.err;
  return result.out;
}

double MeanLuma(const Picture& picture, int left, int top, int width, int height) {
  double sum = 0;
  for (int y = top; y < top + height; ++y) {
    for (int x = left; x < left + width; ++x) {
      sum += picture.luma[static_cast<size_t>(y * picture.width + x)];
    }
  }
  return sum / (width * height);
}

TEST(Recorder, MovesItsLogoFromCornerToCorner) {
  const std::vector<Picture> pictures = DecodeLuma(Record("stamp", 0));
  ASSERT_EQ(pictures.size(), 100U);
  ASSERT_EQ(pictures[0].width, 640);
  // The logo's shorter side becomes 11/108 of the picture's: 36 of 360, so 72x36 pixels, 10 from
  // the edges. Its bright box fills the middle half.
  struct Corner {
    int left, top;
  };
  const Corner corners[] = {{28, 19}, {576, 19}, {576, 323}, {28, 323}};
  for (size_t second = 0; second < 4; ++second) {
    const Picture& picture = pictures[second * 25 + 12];
    for (size_t corner = 0; corner < 4; ++corner) {
      const double luma = MeanLuma(picture, corners[corner].left, corners[corner].top, 36, 18);
      if (corner == second) {
        EXPECT_GT(luma, 200) << "second " << second << ", corner " << corner;
      } else {
        EXPECT_LT(luma, 170) << "second " << second << ", corner " << corner;
      }
    }
  }
}

TEST(Recorder, ScalesAndTurns) {
  const auto fields = StreamFields(Record("turn", 0), "v");
  EXPECT_EQ(fields.at("width"), "180");
  EXPECT_EQ(fields.at("height"), "320");
  EXPECT_EQ(fields.at("nb_frames"), "100");
}

TEST(Recorder, WritesTheSamePacketsOnAThreadOfItsOwn) {
  for (const char* mode : {"stamp", "turn"}) {
    const std::string without = Record(mode, 0);
    const std::string with = Record(mode, 1);
    EXPECT_EQ(Packets(without, "v"), Packets(with, "v")) << mode;
    EXPECT_EQ(Packets(without, "a"), Packets(with, "a")) << mode;
  }
}

}  // namespace
}  // namespace test_support
