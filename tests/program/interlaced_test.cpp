// SPDX-License-Identifier: MIT
// Interlaced clips, field by field, against what ffmpeg shows of the source.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/field_clips.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

constexpr double kAlike = 33;  // dB; a neighbour of the same field is below 25

std::string Order(bool isTopFirst) { return isTopFirst ? "tt" : "bb"; }

// Converts as interlaced pictures are, so that the colors of the fields do not mix.
std::vector<Picture> Fields(const std::string& path, const std::string& name) {
  return DecodeLuma(SeparatedFields(path, name, "scale=interl=1,format=yuv420p"));
}

void ExpectAlike(const std::vector<Picture>& fields, const std::vector<Picture>& expected,
                 const std::string& what) {
  ASSERT_EQ(expected.size(), static_cast<size_t>(2 * kFieldClipPictures)) << what;
  ASSERT_EQ(fields.size(), expected.size()) << what;
  for (size_t i = 0; i < fields.size(); ++i) {
    EXPECT_GE(Psnr(fields[i], expected[i]), kAlike) << what << " field " << i;
  }
}

// All containers for some clips, one for the others.
std::vector<std::string> Extensions(const FieldClip& clip) {
  const std::string name = clip.name;
  if (name == "mpeg2_top.ts" || name == "h264_bottom.mp4" || name == "dv_bottom.avi") {
    return {".mp4", ".mov", ".mkv", ".ts", ".avi"};
  }
  return {".mp4"};
}

class Interlaced : public testing::TestWithParam<FieldClip> {};

// The same encoder, driven as itself.
TEST_P(Interlaced, KeepsTheOrderAtAQualityOfItsOwn) {
  const FieldClip& clip = GetParam();
  const std::string input = MakeFieldClip(clip);
  std::vector<Picture> expected = Fields(input, "expected_crf");
  std::reverse(expected.begin(), expected.end());
  const std::string output = ScratchPath("crf.mkv");
  const CommandResult result = RunProgram({"-i", input, "-o", output, "--set", "crf=18"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(ToldFieldOrder(output), Order(!clip.isTopFirst)) << output;
  EXPECT_EQ(result.err.find("interlaced"), std::string::npos) << result.err;
  ExpectAlike(Fields(output, "fields_crf"), expected, output);
}

TEST_P(Interlaced, ShowsEachFieldInTheOppositeOrder) {
  const FieldClip& clip = GetParam();
  const std::string input = MakeFieldClip(clip);
  std::vector<Picture> expected = Fields(input, "expected");
  std::reverse(expected.begin(), expected.end());
  for (const std::string& extension : Extensions(clip)) {
    const std::string output = ScratchPath("out" + extension);
    const CommandResult result = RunProgram({"-i", input, "-o", output});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(ToldFieldOrder(output), Order(!clip.isTopFirst)) << output;
    EXPECT_EQ(result.err.find("interlaced"), std::string::npos) << result.err;
    EXPECT_EQ(result.err.find("[ffmpeg:libx264]"), std::string::npos) << result.err;
    ExpectAlike(Fields(output, "fields"), expected, output);
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, Interlaced, testing::ValuesIn(FieldClips()), [](const auto& kind) {
  std::string name = kind.param.name;
  std::replace(name.begin(), name.end(), '.', '_');
  return name;
});

TEST(InterlacedTwice, IsTheSourceAgain) {
  const std::string input = MakeFieldClip(FieldClips().front());
  const std::string once = ScratchPath("once.mkv");
  const std::string twice = ScratchPath("twice.mp4");
  ASSERT_EQ(RunProgram({"-i", input, "-o", once}).status, 0);
  ASSERT_EQ(RunProgram({"-i", once, "-o", twice}).status, 0);
  EXPECT_EQ(ToldFieldOrder(twice), Order(FieldClips().front().isTopFirst));
  ExpectAlike(Fields(twice, "twice_fields"), Fields(input, "source_fields"), twice);
}

// The number of times that a text stands in another one.
int Count(const std::string& text, const std::string& part) {
  int count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

TEST(InterlacedScaled, IsProgressiveWithOneWarning) {
  const std::string output = ScratchPath("scaled.mp4");
  const CommandResult result =
      RunProgram({"-i", MakeFieldClip(FieldClips().front()), "-o", output, "--set",
                  "target-width=360", "--set", "target-height=288"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(ToldFieldOrder(output), "progressive");
  EXPECT_EQ(Count(result.err, "interlaced"), 1) << result.err;
}

TEST(InterlacedPlain, IsProgressiveBaseline) {
  const std::string output = ScratchPath("plain.mp4");
  ASSERT_EQ(RunProgram({"--plain", "-i", MakeFieldClip(FieldClips().front()), "-o", output}).status,
            0);
  EXPECT_EQ(ToldFieldOrder(output), "progressive");
  EXPECT_EQ(StreamFields(output, "v").at("profile"), "Constrained Baseline");
}

TEST(NotInterlaced, StaysProgressiveBaseline) {
  const std::string output = ScratchPath("whole.mp4");
  ASSERT_EQ(RunProgram({"-i", Clip(ClipKind::kTransport), "-o", output}).status, 0);
  EXPECT_EQ(ToldFieldOrder(output), "progressive");
  EXPECT_EQ(StreamFields(output, "v").at("profile"), "Constrained Baseline");
}

}  // namespace
}  // namespace test_support
