// SPDX-License-Identifier: MIT
// Memory must not grow with the clip.
#include <gtest/gtest.h>

#include "tests/support/clips.h"
#include "tests/support/command.h"

namespace test_support {
namespace {

std::string LongClip(int seconds) {
  return CustomClip("length_" + std::to_string(seconds) + ".mp4",
                    {"-f",       "lavfi",
                     "-i",       SceneFilter(640, 360, "25"),
                     "-f",       "lavfi",
                     "-i",       SweepFilter(48000, "stereo"),
                     "-t",       std::to_string(seconds),
                     "-c:v",     "libx264",
                     "-preset",  "ultrafast",
                     "-crf",     "20",
                     "-pix_fmt", "yuv420p",
                     "-g",       "50",
                     "-c:a",     "aac"});
}

TEST(Memory, DoesNotDependOnTheLengthOfTheClip) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer keeps freed memory";
#endif
  const CommandResult shortRun = RunProgram({"-i", LongClip(10), "-o", ScratchPath("short.mp4")});
  const CommandResult longRun = RunProgram({"-i", LongClip(60), "-o", ScratchPath("long.mp4")});
  ASSERT_EQ(shortRun.status, 0);
  ASSERT_EQ(longRun.status, 0);
  EXPECT_LT(static_cast<double>(longRun.peakKilobytes),
            1.1 * static_cast<double>(shortRun.peakKilobytes));
  RecordProperty("short_kilobytes", static_cast<int>(shortRun.peakKilobytes));
  RecordProperty("long_kilobytes", static_cast<int>(longRun.peakKilobytes));
}

}  // namespace
}  // namespace test_support
