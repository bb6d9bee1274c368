// SPDX-License-Identifier: MIT
// Recordings that were joined end to end, so that the clock restarts.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/joined_clips.h"
#include "tests/support/media_reading.h"
#include "tests/support/reversal.h"

namespace test_support {
namespace {

constexpr double kHour = 3600;
// Stamps of 90 kHz and 33 bits begin anew here.
constexpr double kWrap = 95443.717;
constexpr double kNear = 0.002;

std::vector<int> Numbers(const std::string& path) {
  std::vector<int> numbers;
  for (const Picture& picture : DecodeLuma(path)) numbers.push_back(ReadFrameNumber(picture));
  return numbers;
}

// Pictures of [start, end) newest first, each when its successor stood in the source.
void ExpectMirroredPictures(const LaidOut& laid, double start, double end,
                            const std::string& output) {
  std::vector<int> numbers;
  std::vector<double> times;
  for (size_t i = laid.times.size(); i-- > 0;) {
    if (laid.times[i] < start - 1e-6 || laid.times[i] >= end - 1e-6) continue;
    times.push_back(numbers.empty() ? 0 : end - laid.times[i + 1]);
    numbers.push_back(laid.numbers[i]);
  }
  EXPECT_EQ(Numbers(output), numbers);
  const std::vector<double> written = VideoTimes(output);
  ASSERT_EQ(written.size(), times.size());
  for (size_t i = 0; i < times.size(); ++i) EXPECT_NEAR(written[i], times[i], kNear) << i;
}

void ExpectMirroredSound(const LaidOut& laid, double start, double end, const std::string& output) {
  // The line is padded, as the comparison counts from its end.
  const SoundMatch match = CompareSound(laid.stereo, laid.sampleRate, output, end);
  ASSERT_GE(static_cast<double>(match.peaks.size()), std::floor((end - start) / 0.4) - 1);
  EXPECT_GE(match.Median(), 0.9);
  for (size_t i = 0; i < match.lagFrames.size(); ++i) {
    EXPECT_NEAR(match.lagFrames[i], 0, 1.95) << i;
  }
}

struct JoinedCase {
  const char* name;
  JoinedCoding coding;
  std::vector<Recording> recordings;
};

std::vector<JoinedCase> Cases() {
  const std::vector<Recording> equal = {{0, 75, 0}, {75, 75, 0}};
  const std::vector<Recording> various = {{0, 60, 5}, {60, 80, kHour}, {140, 50, 0}};
  return {
      {"h264_equal", JoinedCoding::kH264, equal},
      {"h264_various", JoinedCoding::kH264, various},
      {"h264_mute", JoinedCoding::kH264Mute, various},
      {"h264_wrap", JoinedCoding::kH264, {{0, 75, kWrap - 3}, {75, 75, 100}, {150, 75, kWrap - 3}}},
      {"mpeg2_equal", JoinedCoding::kMpeg2, equal},
      {"mpeg2_various", JoinedCoding::kMpeg2, various},
      {"vob_equal", JoinedCoding::kVob, equal},
      {"vob_various", JoinedCoding::kVob, various},
  };
}

class Joined : public testing::TestWithParam<JoinedCase> {
 protected:
  JoinedClip Clip() const {
    return JoinRecordings(std::string("joined_") + GetParam().name, GetParam().coding,
                          GetParam().recordings);
  }
};

TEST_P(Joined, IsMirroredAsItsPartsPlayedInTurn) {
  const JoinedClip clip = Clip();
  const LaidOut laid = LayEndToEnd(clip.parts);
  const std::string output = ScratchPath("joined_whole.mp4");
  const CommandResult result = RunProgram({"-i", clip.path, "-o", output});
  ASSERT_EQ(result.status, 0) << result.err;
  ExpectMirroredPictures(laid, 0, laid.end, output);
  if (laid.sampleRate > 0) ExpectMirroredSound(laid, 0, laid.end, output);
}

TEST_P(Joined, IsMirroredOverABorder) {
  const JoinedClip clip = Clip();
  const LaidOut laid = LayEndToEnd(clip.parts);
  const auto border = static_cast<size_t>(GetParam().recordings[0].pictures);
  ASSERT_LT(border, laid.times.size());
  const double start = std::round(laid.times[border] * 10) / 10 - 0.7;
  const double end = start + 1.7;
  const std::string output = ScratchPath("joined_range.mp4");
  const CommandResult result = RunProgram(
      {"-i", clip.path, "-o", output, "-s", std::to_string(start), "-e", std::to_string(end)});
  ASSERT_EQ(result.status, 0) << result.err;
  ExpectMirroredPictures(laid, start, end, output);
  if (laid.sampleRate > 0) ExpectMirroredSound(laid, start, end, output);
}

TEST_P(Joined, IsTheOriginalAgainAfterTwoReversals) {
  const JoinedClip clip = Clip();
  const LaidOut laid = LayEndToEnd(clip.parts);
  const std::string once = ScratchPath("joined_once.ts");
  const std::string twice = ScratchPath("joined_twice.mp4");
  ASSERT_EQ(RunProgram({"-i", clip.path, "-o", once}).status, 0);
  const CommandResult result = RunProgram({"-i", once, "-o", twice});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(Numbers(twice), laid.numbers);
  if (laid.sampleRate == 0) return;
  std::vector<float> backward = laid.stereo;
  // Both channels change places with the order; the comparison adds them up.
  std::reverse(backward.begin(), backward.end());
  const SoundMatch match = CompareSound(backward, laid.sampleRate, twice, laid.end);
  EXPECT_GE(match.Median(), 0.9);
  for (const double lag : match.lagFrames) EXPECT_NEAR(lag, 0, 1.95);
}

INSTANTIATE_TEST_SUITE_P(Clips, Joined, testing::ValuesIn(Cases()),
                         [](const auto& one) { return std::string(one.param.name); });

// Of some parts the next one begins amid a step of the walk, of others amid a group.
TEST(FortyParts, AreMirroredToo) {
  std::vector<Recording> recordings;
  for (int i = 0; i < 40; ++i) recordings.push_back({i * 25, 25, (i % 3) * kHour / 2});
  const JoinedClip clip = JoinRecordings("joined_forty", JoinedCoding::kH264, recordings);
  const LaidOut laid = LayEndToEnd(clip.parts);
  const std::string output = ScratchPath("joined_forty.mp4");
  const CommandResult result = RunProgram({"-i", clip.path, "-o", output});
  ASSERT_EQ(result.status, 0) << result.err;
  ExpectMirroredPictures(laid, 0, laid.end, output);
  ExpectMirroredSound(laid, 0, laid.end, output);
}

// Of one recording joined to itself, so many times.
CommandResult ReverseTimes(int times, const std::string& output) {
  const JoinedClip part = JoinRecordings("joined_long", JoinedCoding::kH264, {{0, 375, 0}});
  const std::vector<std::string> parts(static_cast<size_t>(times), part.parts[0]);
  return RunProgram({"--memory", "400M", "-i", JoinFiles("joined_long.ts", parts), "-o", output});
}

TEST(FortyParts, OfTenMinutesTakeNoMoreMemoryThanFour) {
  constexpr long kTolerance = 24L << 10;  // kilobytes: tables of the output grow with it
  const std::string output = ScratchPath("joined_long.mp4");
  const CommandResult four = ReverseTimes(4, output);
  ASSERT_EQ(four.status, 0) << four.err;
  const CommandResult forty = ReverseTimes(40, output);
  ASSERT_EQ(forty.status, 0) << forty.err;
  EXPECT_LT(forty.peakKilobytes, four.peakKilobytes + kTolerance);
  EXPECT_EQ(StreamFields(output, "v").at("nb_frames"), std::to_string(40 * 375));
}

struct CutCase {
  const char* name;
  JoinedCoding coding;
  double part;
};

class CutAmidAGroup : public testing::TestWithParam<CutCase> {
 protected:
  static std::string Cut(const std::string& name) {
    const CutCase& one = GetParam();
    const JoinedClip whole =
        JoinRecordings("cut_" + std::to_string(static_cast<int>(one.coding)), one.coding,
                       {{200, 150, 7, "-g 50 -keyint_min 50 -sc_threshold 1000000000"}});
    return CutBegin(name + ".ts", whole.path, one.part);
  }
};

// The length that the container tells, unless it counts what cannot be decoded.
double LengthOf(const std::string& path, double decoded) {
  constexpr double kRounding = 0.1;
  const double told = std::stod(
      Run({"ffprobe", "-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0", path})
          .out);
  return std::abs(told - decoded) < kRounding ? told : decoded;
}

// The pictures that cannot be decoded are a gap.
TEST_P(CutAmidAGroup, IsMirroredInStep) {
  const std::string input = Cut("cut_alone");
  const LaidOut laid = LayEndToEnd({input});
  ASSERT_GT(laid.numbers.front(), 200);
  const std::string output = ScratchPath("cut_alone.mp4");
  const CommandResult result = RunProgram({"-i", input, "-o", output});
  ASSERT_EQ(result.status, 0) << result.err;
  const double end = LengthOf(input, laid.end);
  ExpectMirroredPictures(laid, 0, end, output);
  if (laid.sampleRate > 0) ExpectMirroredSound(laid, 0, end, output);
}

// They show no remains of the part before, either.
TEST_P(CutAmidAGroup, IsMirroredInStepAfterAnotherPart) {
  const std::string cut = Cut("cut_second");
  const JoinedClip first =
      JoinRecordings("cut_first_" + std::to_string(static_cast<int>(GetParam().coding)),
                     GetParam().coding, {{0, 60, 300}});
  const LaidOut laid = LayEndToEnd({first.path, cut});
  ASSERT_GT(laid.numbers[60], 200);
  const std::string input = JoinFiles("cut_joined.ts", {first.path, cut});
  const std::string output = ScratchPath("cut_joined.mp4");
  const CommandResult result = RunProgram({"-i", input, "-o", output});
  ASSERT_EQ(result.status, 0) << result.err;
  ExpectMirroredPictures(laid, 0, laid.end, output);
  if (laid.sampleRate > 0) ExpectMirroredSound(laid, 0, laid.end, output);
}

INSTANTIATE_TEST_SUITE_P(Recordings, CutAmidAGroup,
                         testing::Values(CutCase{"h264_early", JoinedCoding::kH264, 0.1},
                                         CutCase{"h264_late", JoinedCoding::kH264, 0.3},
                                         CutCase{"h264_mute", JoinedCoding::kH264Mute, 0.15},
                                         CutCase{"mpeg2", JoinedCoding::kMpeg2, 0.1}),
                         [](const auto& one) { return std::string(one.param.name); });

TEST(JoinedRefusals, NameThePlaceAndWhatWouldWork) {
  const JoinedClip plain =
      JoinRecordings("joined_plain", JoinedCoding::kH264, {{0, 75, 0}, {75, 75, 0}});
  const std::string output = ScratchPath("joined_refused.mp4");
  const CommandResult refused = RunProgram({"--plain", "-i", plain.path, "-o", output});
  EXPECT_EQ(refused.status, 255);
  EXPECT_NE(refused.err.find(" (byte "), std::string::npos) << refused.err;
  EXPECT_NE(refused.err.find("its clock restarts at 3.0"), std::string::npos) << refused.err;
  EXPECT_NE(refused.err.find("try without --plain"), std::string::npos) << refused.err;
  EXPECT_FALSE(std::filesystem::exists(output));
}

TEST(JoinedRefusals, NameStreamsOfAnotherNumber) {
  const JoinedClip clip = JoinRecordings("joined_numbers", JoinedCoding::kH264,
                                         {{0, 75, 0}, {75, 75, 0, "-mpegts_start_pid 0x300"}});
  const std::string output = ScratchPath("joined_numbers.mp4");
  const CommandResult result = RunProgram({"-i", clip.path, "-o", output});
  EXPECT_EQ(result.status, 255);
  EXPECT_NE(result.err.find("its video goes on in another stream"), std::string::npos)
      << result.err;
  EXPECT_NE(result.err.find("ffmpeg's concat demuxer"), std::string::npos) << result.err;
}

TEST(OneRecording, WhoseClockWrapsIsOnePart) {
  const JoinedClip clip =
      JoinRecordings("joined_wrap", JoinedCoding::kH264, {{0, 125, kWrap - 3.4}});
  const std::string output = ScratchPath("joined_wrap.mp4");
  const CommandResult result = RunProgram({"-i", clip.path, "-o", output});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err.find("restarts"), std::string::npos) << result.err;
  EXPECT_EQ(Numbers(output).size(), 125U);
  EXPECT_EQ(Numbers(output).front(), 124);
  EXPECT_EQ(RunProgram({"--plain", "-i", clip.path, "-o", output}).status, 0);
}

}  // namespace
}  // namespace test_support
