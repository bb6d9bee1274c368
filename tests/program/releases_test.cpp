// SPDX-License-Identifier: MIT
// Whichever FFmpeg release the program is built with, a clip of fixed bytes becomes the same file
// as far as a player's clock and picture go: what is written here holds for all of them.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

constexpr int kFailure = 255;
constexpr char kNone[] = "none";

// How a container counts time, and the stamps of the first picture and between two.
struct Container {
  const char* extension;
  const char* timeBase;
  long first;
  long distance;
  const char* rotationField;  // as ffprobe names it
  const char* quarterTurn;
  const char* noTurn;
};

void PrintTo(const Container& container, std::ostream* stream) { *stream << container.extension; }

// The end of the range is 0. Its last picture stands one picture's time behind it, and where the
// encoder's lead-in of 1024 samples may have no stamps below 0, all stand that much later.
constexpr Container kContainers[] = {
    {"mp4", "1/25000", 1000, 1000, "rotation", "-90", kNone},
    {"mov", "1/25000", 1000, 1000, "rotation", "-90", kNone},
    {"mkv", "1/1000", 61, 40, "TAG:ROTATE", "90", "0"},
    {"ts", "1/90000", 5520, 3600, "rotation", kNone, kNone},
};

std::vector<long> PacketStamps(const std::string& path, const std::string& kind) {
  const CommandResult result = Run({"ffprobe", "-v", "error", "-select_streams", kind + ":0",
                                    "-show_entries", "packet=pts", "-of", "csv=p=0", path});
  EXPECT_EQ(result.status, 0) << result.err;
  std::vector<long> stamps;
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty()) stamps.push_back(std::stol(line));
  }
  return stamps;
}

std::vector<long> EvenStamps(const Container& container, size_t count) {
  std::vector<long> stamps;
  for (size_t i = 0; i < count; ++i) {
    stamps.push_back(container.first + static_cast<long>(i) * container.distance);
  }
  return stamps;
}

class OnEveryRelease : public testing::TestWithParam<Container> {
 protected:
  // Reverses a clip and expects this many pictures at the container's stamps. Returns the path.
  std::string Reverse(const std::string& clip, const std::vector<std::string>& range,
                      size_t pictures) {
    const std::string output = ScratchPath(std::string("release.") + GetParam().extension);
    std::vector<std::string> arguments = {"--plain", "-i", clip, "-o", output};
    arguments.insert(arguments.end(), range.begin(), range.end());
    const CommandResult result = RunProgram(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(PacketStamps(output, "v"), EvenStamps(GetParam(), pictures));
    return output;
  }

  std::string Rotation(const std::string& path) {
    const auto fields = StreamFields(path, "v");
    const auto field = fields.find(GetParam().rotationField);
    return field == fields.end() ? kNone : field->second;
  }
};

TEST_P(OnEveryRelease, ATurnedClipGivesTheSameStampsTurnAndProfile) {
  const std::string output = Reverse(TurnedSampleClip(), {}, 150);
  const auto fields = StreamFields(output, "v");
  EXPECT_EQ(fields.at("time_base"), GetParam().timeBase);
  EXPECT_EQ(fields.at("profile"), "Constrained Baseline");
  EXPECT_EQ(fields.at("level"), "40");
  EXPECT_EQ(fields.at("width") + "x" + fields.at("height"), "640x360");
  EXPECT_EQ(StreamFields(output, "a").at("profile"), "LC");
  EXPECT_EQ(Rotation(output), GetParam().quarterTurn);
}

TEST_P(OnEveryRelease, ARangeOfAStraightClipHoldsTheSamePictures) {
  EXPECT_EQ(Rotation(Reverse(SampleClip(), {"-s", "1.5", "-e", "4.2"}, 67)), GetParam().noTurn);
}

INSTANTIATE_TEST_SUITE_P(Containers, OnEveryRelease, testing::ValuesIn(kContainers),
                         [](const auto& parameter) { return parameter.param.extension; });

// The same program, with an avformat that says it is of another major.
TEST(OtherMajors, StopTheProgramBeforeItTouchesAFile) {
  const std::filesystem::path beside = ProgramPath();
  const std::string program = (beside.parent_path() / "tests/program/other_majors").string();
  const std::string output = ScratchPath("other_majors.mp4");
  const CommandResult result = test_support::Run({program, "-i", SampleClip(), "-o", output});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_NE(result.err.find("but libavformat 99 is loaded; build the program again"),
            std::string::npos)
      << result.err;
  EXPECT_EQ(result.err.find("=====in:"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(output));
}

}  // namespace
}  // namespace test_support
