// SPDX-License-Identifier: MIT
// The example program of docs/library.md: the reverse job as an embedding program uses it.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

CommandResult Reverse(std::vector<std::string> arguments) {
  const std::filesystem::path program = ProgramPath();
  arguments.insert(arguments.begin(), program.parent_path() / "examples" / "reverse_clip");
  return Run(arguments);
}

TEST(ReverseClip, ReversesARangeOfTheSample) {
  const std::string output = ScratchPath("reversed.mp4");
  const CommandResult result = Reverse({SampleClip(), output, "1", "2"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out.substr(0, 4), "\r  0");
  EXPECT_EQ(result.out.substr(result.out.size() - 7), "\r100 %\n");
  EXPECT_NEAR(std::stod(ContainerFields(output).at("duration")), 1.0, 0.1);
}

TEST(ReverseClip, SaysWhatFailed) {
  const std::string output = ScratchPath("reversed.webm");
  const CommandResult refused = Reverse({SampleClip(), output});
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.err.find("could not write " + output), std::string::npos) << refused.err;
  EXPECT_FALSE(std::filesystem::exists(output));

  const CommandResult absent = Reverse({"absent.mp4", output});
  EXPECT_EQ(absent.status, 1);
  EXPECT_NE(absent.err.find("absent.mp4"), std::string::npos) << absent.err;
}

}  // namespace
}  // namespace test_support
