// SPDX-License-Identifier: MIT
// The program as a person or a script meets it.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

// What the host sees of an exit status of -1.
constexpr int kFailure = 255;

TEST(Program, PrintsItsUsageAndFailsWithoutArguments) {
  const CommandResult result = RunProgram({});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_EQ(result.out,
            "usage: prog [options] <input file>\n"
            "options:\n"
            "  -v  Set the logging level to verbose\n"
            "  -i <in file name> Set the input file\n"
            "  -o <out file name> Set the output file\n"
            "  -s <start time> Start time ms\n"
            "  -e <end time> End time ms\n");
  EXPECT_EQ(result.err, "");
}

TEST(Program, ShowsItsPagesOnStandardOutput) {
  for (const char* word : {"--help", "-h", "--help=keys", "--version"}) {
    const CommandResult result = RunProgram({"-i", "absent.mp4", word});
    EXPECT_EQ(result.status, 0) << word;
    EXPECT_EQ(result.err, "") << word;
    EXPECT_GT(result.out.size(), 200U) << word;
  }
  EXPECT_EQ(RunProgram({"-h"}).out, RunProgram({"--help"}).out);
}

TEST(Program, FailsWhereAPageCannotBeWritten) {
  const CommandResult result =
      test_support::Run({"bash", "-c", "\"$0\" --help >/dev/full", ProgramPath()});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_NE(result.err.find("standard output: No space left on device"), std::string::npos);
}

TEST(Program, ChecksKeysBeforeItOpensAnything) {
  const std::string output = ScratchPath("unopened.mp4");
  const CommandResult result =
      RunProgram({"-i", "absent.mp4", "-o", output, "--set", "presett=fast"});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_NE(result.err.find("--set knows no key presett; did you mean preset?\n"),
            std::string::npos);
  EXPECT_EQ(result.err.find("absent.mp4"), std::string::npos);
}

TEST(Program, ReadsTimecodes) {
  const CommandResult result =
      RunProgram({"-i", Clip(ClipKind::kH264Short), "-o", ScratchPath("coded.mp4"), "-s", "0:01",
                  "-e", "0:00:02.5"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.err.find(", start:1.000, end:2.500"), std::string::npos);
  EXPECT_EQ(VideoTimes(ScratchPath("coded.mp4")).size(), 38U);
}

TEST(Program, SaysOneLineOfAQuietRun) {
  const std::string output = ScratchPath("quiet.mp4");
  const CommandResult result =
      RunProgram({"-i", Clip(ClipKind::kH264Short), "-o", output, "--quiet", "-e", "5000"});
  EXPECT_EQ(result.status, 0);
  const std::string end = output + " holds 3.000 s, reversed\n";
  ASSERT_GT(result.err.size(), end.size());
  EXPECT_EQ(result.err.substr(result.err.size() - end.size()), end);
  EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
}

TEST(Program, WritesJsonInPlaceOfTheProgressLines) {
  const std::string output = ScratchPath("json.mp4");
  const CommandResult result =
      RunProgram({"-i", Clip(ClipKind::kH264Short), "-o", output, "--progress=json", "--quiet"});
  EXPECT_EQ(result.status, 0);
  const std::string end = ",\"bytes\":" + std::to_string(std::filesystem::file_size(output)) +
                          ",\"pictures\":75,\"sound\":3.000,\"lost_pictures\":0,"
                          "\"lost_sound\":0.000,\"result\":\"done\"}\n";
  ASSERT_GT(result.err.size(), end.size());
  EXPECT_EQ(result.err.substr(result.err.size() - end.size()), end);
  EXPECT_EQ(result.err.find("progress:"), std::string::npos);
  const CommandResult failed =
      RunProgram({"-i", "absent.mp4", "-o", output, "--progress", "json", "--quiet"});
  EXPECT_EQ(failed.status, kFailure);
  EXPECT_NE(failed.err.find("\"result\":\"failed\",\"advice\":\"absent.mp4 does not exist; check "
                            "the name after -i\"}\n"),
            std::string::npos);
}

TEST(Program, ReplacesNothingThatItIsToldToLeave) {
  const std::string output = ScratchPath("left.mp4");
  std::ofstream(output) << "before";
  for (const char* how : {"no", "ask"}) {
    const CommandResult result =
        RunProgram({"-i", Clip(ClipKind::kH264Short), "-o", output, "--overwrite", how});
    EXPECT_EQ(result.status, kFailure);
    EXPECT_EQ(std::filesystem::file_size(output), 6U);
  }
}

TEST(Program, LogsTheRunLineToStandardErrorOnly) {
  const CommandResult result =
      RunProgram({"-i", "absent.mp4", "-o", "x.mp4", "-s", "2", "-e", "5"});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("[reverse::Main] =============in:absent.mp4, out:x.mp4, start:2.000, "
                            "end:5.000"),
            std::string::npos);
  EXPECT_NE(result.err.find("Could not open source file absent.mp4"), std::string::npos);
  EXPECT_NE(result.err.find("Reverse init error"), std::string::npos);
}

TEST(Program, GoesOnWithAnEmptyInputForABareName) {
  const CommandResult result = RunProgram({Clip(ClipKind::kH264Short)});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_NE(result.err.find("=============in:, out:, start:0.000, end:0.000"), std::string::npos);
}

TEST(Program, RefusesAFlagWithoutItsValue) {
  for (const char* flag : {"-i", "-o", "-s", "-e"}) {
    const CommandResult result = RunProgram({"-i", "a.mp4", flag});
    EXPECT_EQ(result.status, kFailure) << flag;
    EXPECT_NE(result.err.find(std::string("option ") + flag + " needs a value"), std::string::npos);
    EXPECT_EQ(result.err.find("=====in:"), std::string::npos);
  }
}

TEST(Program, ShowsDebugAndVerboseLinesOnlyWithTheFlag) {
  const std::string output = ScratchPath("level.mp4");
  const CommandResult quiet = RunProgram({"-i", Clip(ClipKind::kH264Short), "-o", output});
  EXPECT_EQ(quiet.err.find("=====Init====="), std::string::npos);
  const CommandResult verbose = RunProgram({"-v", "-i", Clip(ClipKind::kH264Short), "-o", output});
  EXPECT_NE(verbose.err.find("[codec::FFmpegDecoderImpl2] =====Init====="), std::string::npos);
  EXPECT_NE(verbose.err.find("[ffmpeg:libx264]"), std::string::npos);
}

TEST(Program, FailsForAStartBehindTheEnd) {
  const CommandResult result =
      RunProgram({"-i", Clip(ClipKind::kH264Short), "-o", ScratchPath("x.mp4"), "-s", "5"});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_NE(result.err.find("error reverse start position"), std::string::npos);
}

TEST(Program, FailsForSoundAlone) {
  const CommandResult result =
      RunProgram({"-i", Clip(ClipKind::kAudioOnly), "-o", ScratchPath("x.mp4")});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_NE(result.err.find("error has_video:0"), std::string::npos);
}

TEST(Program, NeverEmptiesItsInput) {
  const std::string input = ScratchPath("precious.mp4");
  std::filesystem::copy_file(Clip(ClipKind::kH264Short), input);
  const auto size = std::filesystem::file_size(input);
  EXPECT_EQ(RunProgram({"-i", input, "-o", input}).status, kFailure);
  EXPECT_EQ(std::filesystem::file_size(input), size);
}

TEST(Program, FailsWhereTheOutputCannotBeMade) {
  for (const std::string& output : {ScratchPath("none/such/x.mp4"), std::string()}) {
    const CommandResult result = RunProgram({"-i", Clip(ClipKind::kH264Short), "-o", output});
    EXPECT_EQ(result.status, kFailure);
    EXPECT_NE(result.err.find("Make MediaWriter error"), std::string::npos);
  }
}

TEST(Program, FailsForAPictureSizeThatTheEncoderRefuses) {
  const std::string input =
      CustomClip("odd_size.mkv",
                 {"-f", "lavfi", "-i", "testsrc2=size=322x242:rate=25,format=yuv444p,crop=321:241",
                  "-t", "1", "-c:v", "ffv1"});
  const CommandResult result = RunProgram({"--plain", "-i", input, "-o", ScratchPath("odd.mp4")});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_NE(result.err.find("Could not open video codec"), std::string::npos);
  EXPECT_NE(result.err.find(input + " has pictures of 321x241, which H.264 cannot hold; crop it to "
                                    "an even width and height first\n"),
            std::string::npos);
}

TEST(Program, CutsAColumnAndARowThatTheEncoderRefuses) {
  const std::string input =
      CustomClip("odd_size.mkv",
                 {"-f", "lavfi", "-i", "testsrc2=size=322x242:rate=25,format=yuv444p,crop=321:241",
                  "-t", "1", "-c:v", "ffv1"});
  const std::string output = ScratchPath("odd.mp4");
  const CommandResult result = RunProgram({"-i", input, "-o", output});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(StreamFields(output, "v").at("width"), "320");
  EXPECT_EQ(StreamFields(output, "v").at("height"), "240");
}

}  // namespace
}  // namespace test_support
