// SPDX-License-Identifier: MIT
// The level that an output names, against what ffmpeg's encoder finds for such pictures by itself.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

struct Large {
  const char* name;
  int width;
  int height;
  const char* frameRate;
  const char* bitRate;  // that a reversal gives to such pictures
  const char* bufferSize;
};

constexpr Large kLarge[] = {{"1080p60", 1920, 1080, "60", "12M", "60M"},
                            {"2160p30", 3840, 2160, "30", "35M", "175M"},
                            {"360p25", 640, 360, "25", "1M", "5M"}};

std::string SourceOf(const Large& kind) {
  return CustomClip(std::string("level_") + kind.name + ".mp4",
                    {"-f", "lavfi", "-i", SceneFilter(kind.width, kind.height, kind.frameRate),
                     "-frames:v", "8", "-c:v", "libx264", "-preset", "ultrafast"});
}

std::string LevelOfFfmpeg(const Large& kind) {
  const std::string path =
      CustomClip(std::string("level_reference_") + kind.name + ".mp4",
                 {"-i", SourceOf(kind), "-c:v", "libx264", "-preset", "superfast", "-tune",
                  "zerolatency", "-profile:v", "baseline", "-b:v", kind.bitRate, "-maxrate",
                  kind.bitRate, "-bufsize", kind.bufferSize, "-pix_fmt", "yuv420p"});
  return StreamFields(path, "v").at("level");
}

TEST(TrueLevel, IsNamedByEveryContainer) {
  for (const Large& kind : kLarge) {
    for (const char* name : {"out.mp4", "out.mkv", "out.ts"}) {
      const std::string output = ScratchPath(name);
      ASSERT_EQ(RunProgram({"-i", SourceOf(kind), "-o", output}).status, 0) << name;
      EXPECT_EQ(StreamFields(output, "v").at("level"), LevelOfFfmpeg(kind)) << kind.name << name;
    }
  }
}

TEST(TrueLevel, IsLeftOffWithThePlainReversal) {
  const std::string output = ScratchPath("plain.mp4");
  ASSERT_EQ(RunProgram({"--plain", "-i", SourceOf(kLarge[0]), "-o", output}).status, 0);
  EXPECT_EQ(StreamFields(output, "v").at("level"), "40");
}

}  // namespace
}  // namespace test_support
