// SPDX-License-Identifier: MIT
// Runs the program where memory is short: in control groups, as in containers, and with --memory.
#include <gtest/gtest.h>

#include <future>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"
#include "tests/support/memory_group.h"

namespace test_support {
namespace {

constexpr int64_t kMegabyte = int64_t{1} << 20;

enum class Outcome { kEveryPicture, kRefusal };

struct Case {
  const char* name;
  int megabytes;
  int width;
  int height;
  const char* codec;
  int group;
  int pictures;  // in the clip, 30 a second
  const char* start;
  int expected;  // pictures written
  Outcome outcome;
};

void PrintTo(const Case& test, std::ostream* out) { *out << test.name; }

std::string ClipOf(const Case& test) {
  const std::string group = std::to_string(test.group);
  const std::string name = "limit_" + std::string(test.codec) + "_" + std::to_string(test.height) +
                           "_" + group + "_" + std::to_string(test.pictures) + ".mp4";
  const bool isHevc = std::string(test.codec) == "hevc";
  const std::string coding = isHevc ? "-c:v libx265 -preset ultrafast -tag:v hvc1 -x265-params "
                                      "log-level=error:scenecut=0:bframes=3:keyint=" +
                                          group + ":min-keyint=" + group
                                    : "-c:v libx264 -preset superfast -bf 3 -sc_threshold 0 -g " +
                                          group + " -keyint_min " + group;
  std::vector<std::string> words = {"-f",       "lavfi",
                                    "-i",       SceneFilter(test.width, test.height, "30"),
                                    "-f",       "lavfi",
                                    "-i",       SweepFilter(48000, "stereo"),
                                    "-t",       std::to_string(test.pictures / 30.0),
                                    "-pix_fmt", "yuv420p"};
  AppendWords(coding + " -crf 20 -c:a aac", &words);
  return CustomClip(name, words);
}

// Newest first, each once.
void ExpectEveryPicture(const std::string& output, const Case& test) {
  const std::vector<Picture> pictures = DecodeLuma(output);
  ASSERT_EQ(pictures.size(), static_cast<size_t>(test.expected));
  for (size_t i = 0; i < pictures.size(); ++i) {
    EXPECT_EQ(ReadFrameNumber(pictures[i]), test.pictures - 1 - static_cast<int>(i));
  }
}

class MemoryGroups : public testing::TestWithParam<Case> {};

TEST_P(MemoryGroups, GetEveryPictureOnceOrARefusalAndNoKill) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer takes memory of its own";
#endif
  const Case& test = GetParam();
  const std::string clip = ClipOf(test);
  const std::string output = ScratchPath("limit.mp4");
  const MemoryGroup group(test.megabytes * kMegabyte);
  if (!group.Exists()) GTEST_SKIP() << "the host gives no control group with a limit of memory";
  const CommandResult result =
      group.Run({ProgramPath(), "-i", clip, "-o", output, "-s", test.start});
  EXPECT_EQ(group.Kills(), 0);
  EXPECT_LT(group.PeakBytes(), test.megabytes * kMegabyte);
  if (test.outcome == Outcome::kRefusal) {
    EXPECT_EQ(result.status, 255) << result.err;
    EXPECT_NE(result.err.find(" MB of memory, there are " + std::to_string(test.megabytes) + " MB"),
              std::string::npos)
        << result.err;
    EXPECT_NE(result.err.find("allow more with the container's limit"), std::string::npos)
        << result.err;
    return;
  }
  ASSERT_EQ(result.status, 0) << result.err;
  ExpectEveryPicture(output, test);
}

// The whole table, with speeds, is made by scripts/bench-memory.
INSTANTIATE_TEST_SUITE_P(
    Sizes, MemoryGroups,
    testing::Values(
        Case{"h264_360_250_in_96", 96, 640, 360, "h264", 250, 240, "5.99", 60,
             Outcome::kEveryPicture},
        Case{"hevc_360_30_in_96", 96, 640, 360, "hevc", 30, 45, "0", 45, Outcome::kEveryPicture},
        Case{"h264_720_30_in_96", 96, 1280, 720, "h264", 30, 45, "0", 45, Outcome::kEveryPicture},
        Case{"hevc_720_250_in_128", 128, 1280, 720, "hevc", 250, 45, "0", 45,
             Outcome::kEveryPicture},
        Case{"h264_1080_30_in_96", 96, 1920, 1080, "h264", 30, 20, "0", 20, Outcome::kRefusal},
        Case{"h264_1080_30_in_200", 200, 1920, 1080, "h264", 30, 20, "0", 20,
             Outcome::kEveryPicture},
        Case{"hevc_1080_250_in_300", 300, 1920, 1080, "hevc", 250, 20, "0", 20,
             Outcome::kEveryPicture},
        Case{"hevc_2160_30_in_96", 96, 3840, 2160, "hevc", 30, 12, "0", 12, Outcome::kRefusal},
        Case{"hevc_2160_30_in_300", 300, 3840, 2160, "hevc", 30, 12, "0", 12, Outcome::kRefusal},
        Case{"hevc_2160_30_in_512", 512, 3840, 2160, "hevc", 30, 12, "0", 12,
             Outcome::kEveryPicture},
        Case{"h264_2160_250_in_1024", 1024, 3840, 2160, "h264", 250, 12, "0", 12,
             Outcome::kEveryPicture}),
    [](const testing::TestParamInfo<Case>& test) { return std::string(test.param.name); });

// The encoder keeps single fields beside whole pictures.
TEST(MemoryGroupsOfFields, GetEveryPictureOrARefusalAndNoKill) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer takes memory of its own";
#endif
  constexpr int kPictures = 20;
  std::vector<std::string> words = {"-f",  "lavfi",
                                    "-i",  SceneFilter(1920, 1080, "50"),
                                    "-vf", "tinterlace=mode=interleave_top,setfield=tff"};
  AppendWords(
      "-c:v libx264 -preset superfast -pix_fmt yuv420p -flags +ildct+ilme -x264-params "
      "tff=1 -g 6 -frames:v " +
          std::to_string(kPictures),
      &words);
  const std::string clip = CustomClip("limit_fields.mp4", words);
  for (const int megabytes : {140, 170}) {
    const std::string output = ScratchPath("limit_fields.mp4");
    const MemoryGroup group(megabytes * kMegabyte);
    if (!group.Exists()) GTEST_SKIP() << "the host gives no control group with a limit of memory";
    const CommandResult result = group.Run({ProgramPath(), "-i", clip, "-o", output});
    EXPECT_EQ(group.Kills(), 0);
    if (megabytes == 140) {
      EXPECT_EQ(result.status, 255) << result.err;
      EXPECT_NE(result.err.find(" MB of memory, there are 140 MB"), std::string::npos);
      continue;
    }
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(ToldFieldOrder(output), "bb");
    EXPECT_EQ(DecodeLuma(output).size(), static_cast<size_t>(kPictures));
  }
}

TEST(MemoryOption, IsKeptTo) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer takes memory of its own";
#endif
  const std::string output = ScratchPath("kept.mp4");
  const CommandResult result =
      RunProgram({"-i", Clip(ClipKind::kH264), "-o", output, "--memory=80M"});
  ASSERT_EQ(result.status, 0) << result.err;
  // What the libraries keep in files is not the process's own, but counts here.
  constexpr long kLibraries = 60 * 1024;
  EXPECT_LT(result.peakKilobytes, 80 * 1024 + kLibraries);
  EXPECT_EQ(DecodeLuma(output).size(), 150U);
}

TEST(MemoryOption, RefusesWhatCannotFitAndSaysWhatToDo) {
  const std::string output = ScratchPath("small.mp4");
  const CommandResult result =
      RunProgram({"-i", Clip(ClipKind::kH264), "-o", output, "--memory", "10M"});
  EXPECT_EQ(result.status, 255);
  EXPECT_NE(result.err.find(" of memory, more than the 10 MB that it may have; allow more with "
                            "--memory, or make its pictures smaller first"),
            std::string::npos)
      << result.err;
}

// The number in a refusal is enough for the next run, whatever limit was refused.
TEST(MemoryOption, TellsASizeThatIsEnough) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer takes memory of its own";
#endif
  // Probing the large pictures takes more than the small limits.
  const Case large = {"", 0, 3840, 2160, "hevc", 30, 12, "0", 12, Outcome::kRefusal};
  const std::string output = ScratchPath("enough.mp4");
  for (const std::string& clip : {Clip(ClipKind::kH264), ClipOf(large)}) {
    for (const std::string limit : {"1M", "20M", "38M"}) {
      const std::vector<std::string> words = {"-i", clip, "-o", output, "-e", "0.1"};
      std::vector<std::string> refused = words;
      refused.insert(refused.end(), {"--memory", limit});
      CommandResult result = RunProgram(refused);
      ASSERT_EQ(result.status, 255) << limit;
      const size_t number = result.err.rfind(" needs ");
      ASSERT_NE(number, std::string::npos) << result.err;
      const std::string told = std::to_string(std::stoi(result.err.substr(number + 7)));
      std::vector<std::string> taken = words;
      taken.insert(taken.end(), {"--memory", told + "M"});
      result = RunProgram(taken);
      EXPECT_EQ(result.status, 0) << limit << " then " << told << "M: " << result.err;
    }
  }
}

TEST(MemoryOption, RefusesWhatIsNoSize) {
  const CommandResult result = RunProgram({"-i", "in.mp4", "-o", "out.mp4", "--memory", "much"});
  EXPECT_EQ(result.status, 255);
  EXPECT_NE(result.err.find("option --memory needs a size, not much"), std::string::npos);
}

TEST(MemoryOption, IsLeftOutByPlain) {
  const std::string output = ScratchPath("plain.mp4");
  const CommandResult result =
      RunProgram({"-i", Clip(ClipKind::kH264Short), "-o", output, "--memory", "10M", "--plain"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.err.find("--plain leaves --memory out"), std::string::npos);
}

TEST(MemoryOption, LetsEightRunsGoOnAtOnce) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer takes memory of its own";
#endif
  constexpr int kRuns = 8;
  const std::string clip = Clip(ClipKind::kH264Short);
  std::vector<std::future<CommandResult>> runs;
  for (int i = 0; i < kRuns; ++i) {
    const std::string output = ScratchPath("at_once_" + std::to_string(i) + ".mp4");
    runs.push_back(std::async(std::launch::async, [clip, output] {
      return RunProgram({"-i", clip, "-o", output, "--memory", "96M"});
    }));
  }
  for (int i = 0; i < kRuns; ++i) {
    const CommandResult result = runs[static_cast<size_t>(i)].get();
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(DecodeLuma(ScratchPath("at_once_" + std::to_string(i) + ".mp4")).size(), 75U);
  }
}

}  // namespace
}  // namespace test_support
