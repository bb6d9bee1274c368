// SPDX-License-Identifier: MIT
// Programs of other languages that use the C interface.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

CommandResult RunC(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), CLIPREVERSE_C_PROGRAM);
  return Run(arguments);
}

// The numbers in the pictures go back from the given one, and FFmpeg knows the codecs.
void ExpectReversed(const std::string& output, int from, size_t count) {
  const std::vector<Picture> pictures = DecodeLuma(output);
  ASSERT_EQ(pictures.size(), count);
  for (size_t i = 0; i < count; ++i) {
    EXPECT_EQ(ReadFrameNumber(pictures[i]), from - static_cast<int>(i));
  }
  EXPECT_EQ(StreamFields(output, "v").at("codec_name"), "h264");
  EXPECT_EQ(StreamFields(output, "a").at("codec_name"), "aac");
}

TEST(CProgram, ReversesAClip) {
  const std::string output = ScratchPath("by-c.mp4");
  const CommandResult result = RunC({Clip(ClipKind::kH264Short), output, "thread-count", "2"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "end 0, error 0 \"\", 100 %, 75 pictures\n");
  EXPECT_EQ(result.err, "");
  ExpectReversed(output, 74, 75);
}

TEST(CProgram, SaysWhatFailed) {
  const CommandResult result = RunC({"absent.mp4", ScratchPath("none.mp4")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.out, testing::HasSubstr("log 0: [codec::Reverse] decoder init failed\n"));
  EXPECT_THAT(result.out,
              testing::EndsWith("end -4, error -4 \"absent.mp4 does not exist; check its name\", "
                                "0 %, 0 pictures\n"));
  EXPECT_FALSE(std::filesystem::exists(ScratchPath("none.mp4")));
}

// A library with a sanitizer cannot be loaded by a Python without one.
#ifdef CLIPREVERSE_HAS_SANITIZER
#define SKIP_WITH_SANITIZER() GTEST_SKIP()
#else
#define SKIP_WITH_SANITIZER() static_cast<void>(0)
#endif

CommandResult RunPython(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"env", "CLIPREVERSE_LIBRARY=" CLIPREVERSE_C_LIBRARY,
                                       CLIPREVERSE_PYTHON, CLIPREVERSE_PYTHON_EXAMPLE});
  return Run(arguments);
}

TEST(PythonExample, ReversesARangeWithABar) {
  SKIP_WITH_SANITIZER();
  const std::string output = ScratchPath("by-python.mp4");
  const CommandResult result =
      RunPython({Clip(ClipKind::kH264Short), output, "start=1", "end=2", "thread-count=2"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "25 pictures and 1.000 s of sound reversed\n");
  EXPECT_THAT(result.err, testing::EndsWith("\r[" + std::string(40, '#') + "] 100.0 %\n"));
  ExpectReversed(output, 49, 25);
}

TEST(PythonExample, SaysWhatFailed) {
  SKIP_WITH_SANITIZER();
  const CommandResult refused = RunPython({SampleClip(), ScratchPath("a.mp4"), "crff=20"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.err, "a job knows no key crff; did you mean crf?\n");
  const CommandResult absent = RunPython({"absent.mp4", ScratchPath("a.mp4")});
  EXPECT_EQ(absent.status, 1);
  EXPECT_EQ(absent.err, "absent.mp4 does not exist; check its name\n");
  EXPECT_EQ(RunPython({"alone.mp4"}).status, 2);
}

}  // namespace
}  // namespace test_support
