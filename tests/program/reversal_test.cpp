// SPDX-License-Identifier: MIT
// Runs the program over every kind of clip and holds its output against ffmpeg's decode of the
// source.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <tuple>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"
#include "tests/support/reversal.h"

namespace test_support {
namespace {

struct Range {
  const char* name;
  const char* start;  // null for no option
  const char* end;
};

constexpr Range kWhole = {"whole", nullptr, nullptr};
constexpr Range kInside = {"inside", "1.3", "2.6"};
constexpr Range kLate = {"late", "1.3", "4.7"};

class Reversal : public testing::TestWithParam<std::tuple<ClipKind, Range>> {
 protected:
  static CommandResult Reverse(const std::string& input, const std::string& output,
                               const Range& range) {
    std::vector<std::string> arguments = {"--plain", "-i", input, "-o", output};
    if (range.start != nullptr) arguments.insert(arguments.end(), {"-s", range.start});
    if (range.end != nullptr) arguments.insert(arguments.end(), {"-e", range.end});
    return RunProgram(arguments);
  }

  static double EndOf(const std::string& input, const Range& range) {
    const auto duration = static_cast<double>(std::stof(ContainerFields(input).at("duration")));
    return range.end == nullptr ? duration : std::min(duration, std::stod(range.end));
  }

  static double Fraction(const std::string& text) {
    const size_t slash = text.find('/');
    return std::stod(text.substr(0, slash)) / std::stod(text.substr(slash + 1));
  }
};

void ExpectQuietSuccess(const CommandResult& result) {
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "");
  const std::vector<double> progress = ProgressValues(result.err);
  ASSERT_FALSE(progress.empty());
  EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
  EXPECT_EQ(progress.back(), 100.0);
}

TEST_P(Reversal, HoldsEveryPictureOnceNewestFirstAndTheSoundReversed) {
  const auto& [kind, range] = GetParam();
  const std::string input = Clip(kind);
  const std::string output = ScratchPath("reversed.mp4");
  ExpectQuietSuccess(Reverse(input, output, range));

  const SourceClip source = ReadSource(input);
  const double start = range.start == nullptr ? 0 : std::stod(range.start);
  const double end = EndOf(input, range);
  const std::vector<size_t> expected = ExpectedOrder(source, start, end);
  const std::vector<Picture> pictures = DecodeLuma(output);
  ASSERT_EQ(pictures.size(), expected.size());
  std::vector<double> sourceTimes;
  for (size_t i = 0; i < expected.size(); ++i) {
    sourceTimes.push_back(source.times[expected[i]]);
    const Picture& original = source.pictures[expected[i]];
    if (kind == ClipKind::kTiny) continue;
    EXPECT_EQ(ReadFrameNumber(pictures[i]), ReadFrameNumber(original)) << "picture " << i;
    EXPECT_GE(Psnr(pictures[i], original), 30) << "picture " << i;
  }

  const double frameRate = Fraction(StreamFields(input, "v").at("avg_frame_rate"));
  const double written = std::stod(std::to_string(frameRate).substr(0, 7));
  const std::vector<long> numbers = ExpectedFrameNumbers(sourceTimes, end, frameRate);
  const std::vector<double> times = VideoTimes(output);
  ASSERT_EQ(times.size(), numbers.size());
  for (size_t i = 0; i < times.size(); ++i) {
    EXPECT_NEAR(times[i], static_cast<double>(numbers[i]) / written, 0.002) << "picture " << i;
  }

  const auto fields = StreamFields(output, "v");
  EXPECT_EQ(fields.at("codec_name"), "h264");
  EXPECT_EQ(fields.at("profile"), "Constrained Baseline");
  EXPECT_EQ(fields.at("level"), "40");
  EXPECT_EQ(fields.at("pix_fmt"), "yuv420p");

  // Half of a packed float block is what the tool hands on of such sources, by design.
  if (kind == ClipKind::kH264NoAudio || kind == ClipKind::kPcmFloat) return;
  EXPECT_EQ(StreamFields(output, "a").at("channels"), "2");
  const SoundMatch match = CompareSound(input, output, end);
  EXPECT_GE(match.peaks.size(), 2U);
  EXPECT_GE(match.Median(), 0.95);
  EXPECT_GE(match.Lowest(), 0.8) << testing::PrintToString(match.peaks);
  for (const double lag : match.lagFrames)
    EXPECT_LE(std::abs(lag), 1.5) << testing::PrintToString(match.lagFrames);
}

INSTANTIATE_TEST_SUITE_P(AllKinds, Reversal,
                         testing::Combine(testing::ValuesIn(VideoClipKinds()),
                                          testing::Values(kWhole, kInside, kLate)),
                         [](const auto& parameter) {
                           return ClipName(std::get<0>(parameter.param)) + "_" +
                                  std::get<1>(parameter.param).name;
                         });

TEST(Reversal, KeepsAPortraitClipUpright) {
  const std::string output = ScratchPath("portrait.mp4");
  ASSERT_EQ(RunProgram({"-i", Clip(ClipKind::kRotated), "-o", output}).status, 0);
  const auto source = StreamFields(Clip(ClipKind::kRotated), "v");
  const auto fields = StreamFields(output, "v");
  ASSERT_NE(source.find("rotation"), source.end());
  EXPECT_EQ(fields.at("rotation"), source.at("rotation"));
  EXPECT_EQ(fields.at("width"), "640");
  EXPECT_EQ(fields.at("height"), "360");
}

TEST(Reversal, GivesTheLastPictureOfAnMp4ItsDuration) {
  const std::string output = ScratchPath("durations.mp4");
  ASSERT_EQ(RunProgram({"--plain", "-i", Clip(ClipKind::kH264NoAudio), "-o", output}).status, 0);
  const auto fields = StreamFields(output, "v");
  EXPECT_EQ(fields.at("nb_frames"), "125");
  EXPECT_NEAR(std::stod(fields.at("duration")), 5, 0.001);
  // The first picture stands one frame after the end of the range, which is where its own time
  // began.
  EXPECT_NEAR(std::stod(fields.at("start_time")), 0.04, 0.001);
  EXPECT_EQ(fields.at("avg_frame_rate"), "25/1");
}

TEST(Reversal, WritesOtherContainers) {
  for (const char* name : {"out.mkv", "out.mov", "out.avi", "out.ts", "out.m4v"}) {
    const std::string output = ScratchPath(name);
    const CommandResult result = RunProgram({"-i", Clip(ClipKind::kH264Short), "-o", output});
    EXPECT_EQ(result.status, 0) << name << result.err;
    const std::vector<Picture> pictures = DecodeLuma(output);
    ASSERT_EQ(pictures.size(), 75U) << name;
    EXPECT_EQ(ReadFrameNumber(pictures.front()), 74) << name;
    EXPECT_EQ(ReadFrameNumber(pictures.back()), 0) << name;
    EXPECT_EQ(StreamFields(output, "a").at("codec_name"), "aac") << name;
  }
}

// AVI counts pictures in slots of one length, and leaves slots empty for times that it has none
// for.
TEST(Reversal, FillsEverySlotOfAnAvi) {
  for (const int rate : {10, 25, 50}) {
    const std::string fps = std::to_string(rate);
    const std::string clip = CustomClip(
        "slots" + fps + ".mov",
        {"-f", "lavfi", "-i", "testsrc2=size=160x120:duration=2:rate=" + fps, "-f", "lavfi", "-i",
         "anoisesrc=duration=2", "-c:v", "libx264", "-bf", "0", "-c:a", "pcm_s16le"});
    const std::string output = ScratchPath("slots.avi");
    ASSERT_EQ(RunProgram({"-i", clip, "-o", output}).status, 0);
    const std::vector<double> times = VideoTimes(output);
    ASSERT_EQ(times.size(), static_cast<size_t>(2 * rate));
    for (size_t i = 0; i < times.size(); ++i) {
      EXPECT_NEAR(times[i], static_cast<double>(i) / rate, 0.0005) << rate << " " << i;
    }
  }
}

TEST(Reversal, LosesOnlyTheFrameAtAStartThatTheLastSeekLandsOn) {
  const std::string output = ScratchPath("on_start.mp4");
  ASSERT_EQ(RunProgram({"--plain", "-i", Clip(ClipKind::kH264), "-o", output, "-s", "2", "-e", "5"})
                .status,
            0);
  const std::vector<Picture> pictures = DecodeLuma(output);
  ASSERT_EQ(pictures.size(), 74U);
  EXPECT_EQ(ReadFrameNumber(pictures.front()), 124);
  EXPECT_EQ(ReadFrameNumber(pictures.back()), 51);
}

}  // namespace
}  // namespace test_support
