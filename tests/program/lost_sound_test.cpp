// SPDX-License-Identifier: MIT
// Which sound of a clip is reversed, and what is told if there is none that could be.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"
#include "tests/support/reversal.h"

namespace test_support {
namespace {

constexpr int kFailure = 255;
constexpr double kSeconds = 4;

const std::vector<std::string> kPictures = {"-f", "lavfi", "-i", SceneFilter(320, 180, "25")};
const std::vector<std::string> kSweep = {"-f", "lavfi", "-i", SweepFilter(48000, "stereo")};
const std::vector<std::string> kTone = {"-f", "lavfi", "-i", "sine=300:sample_rate=48000"};

// A clip of some sources; `words` are those for the output.
std::string Make(const std::string& name, const std::vector<std::vector<std::string>>& sources,
                 const std::string& words) {
  std::vector<std::string> all;
  for (const auto& source : sources) all.insert(all.end(), source.begin(), source.end());
  AppendWords(words, &all);
  return CustomClip(name, all);
}

// A copy in which another code stands for a codec: FFmpeg does not know the codec.
std::string Foreign(const std::string& clip, const std::string& code, const std::string& name) {
  return ReplacedCopy(clip, code, code.substr(0, code.size() - 4) + "zzzz", name);
}

bool Contains(const std::string& text, const std::string& piece) {
  return text.find(piece) != std::string::npos;
}

void ExpectSound(const std::vector<float>& stereo, const std::string& output) {
  const SoundMatch match = CompareSound(stereo, 48000, output, kSeconds);
  EXPECT_GE(match.Median(), 0.9);
}

TEST(ChosenSound, IsTheNextOneIfTheFirstCannotBeDecoded) {
  const std::string known =
      Make("chosen_two.mov", {kPictures, kTone, kSweep},
           "-map 0 -map 1 -map 2 -t 4 -c:v libx264 -pix_fmt yuv420p -c:a:0 pcm_s16le -c:a:1 aac");
  const std::string input = Foreign(known, "sowt", "chosen_two.mov");
  const std::string output = ScratchPath("chosen_two.out.mov");
  const CommandResult result = RunProgram({"-i", input, "-o", output, "--strict"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(Contains(result.err, "FFmpeg has no decoder for the sound in stream 1 (zzzz)"));
  EXPECT_TRUE(Contains(result.err, "; the sound in stream 2 (aac) is taken instead"));
  ExpectSound(DecodeStereo(Make("chosen_sweep.wav", {kSweep}, "-t 4")), output);
}

// Of two clips with the same streams, paired otherwise. The better sound is in one pair.
TEST(ChosenSound, IsThatOfThePicturesProgramme) {
  for (const bool isCrossed : {false, true}) {
    const std::string programmes = isCrossed
                                       ? "-program title=A:st=0:st=3 -program title=B:st=2:st=1"
                                       : "-program title=A:st=0:st=1 -program title=B:st=2:st=3";
    const std::string input =
        Make(isCrossed ? "chosen_crossed_rates.ts" : "chosen_programme_rates.ts",
             {kPictures, kSweep, {"-f", "lavfi", "-i", "testsrc=s=160x120:r=25"}, kTone},
             "-map 2 -map 3 -map 0 -map 1 -t 4 -c:v mpeg2video -c:a mp2 -b:a:0 96k -b:a:1 384k " +
                 programmes);
    const std::string output = ScratchPath("chosen_programmes.mov");
    const CommandResult result = RunProgram({"-i", input, "-o", output, "--overwrite", "yes"});
    ASSERT_EQ(result.status, 0) << result.err;
    const bool hasScene = StreamFields(output, "v").at("width") == "320";
    const bool isSweep = hasScene != isCrossed;
    ExpectSound(DecodeStereo(Make(isSweep ? "chosen_sweep.wav" : "chosen_tone.wav",
                                  {isSweep ? kSweep : kTone}, "-t 4")),
                output);
  }
}

struct LostCase {
  const char* extension;
  const char* encoder;
  const char* code;  // that stands for the codec in the file
};

class UnknownCodec : public testing::TestWithParam<LostCase> {
 protected:
  static std::string Input() {
    const LostCase& one = GetParam();
    const std::string name = std::string("unknown_codec.") + one.extension;
    const std::string known =
        Make(name, {kPictures, kSweep},
             std::string("-t 4 -c:v libx264 -pix_fmt yuv420p -c:a ") + one.encoder);
    return Foreign(known, one.code, name);
  }

  const std::string mOutput = ScratchPath("unknown_codec.mp4");
};

TEST_P(UnknownCodec, IsToldAsLost) {
  const std::string input = Input();
  const CommandResult result = RunProgram({"-i", input, "-o", mOutput});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(Contains(result.err, "FFmpeg has no decoder for the sound in stream 1"));
  EXPECT_TRUE(Contains(result.err, "the sound of " + input + " is left out: "));
  EXPECT_TRUE(Contains(result.err, "4.000 s of sound could not be decoded (the first at 0.000 s)"))
      << result.err;
  const CommandResult strict = RunProgram({"-i", input, "-o", ScratchPath("x.mp4"), "--strict"});
  EXPECT_EQ(strict.status, kFailure) << strict.err;
}

TEST_P(UnknownCodec, IsLostInTheRangeAlone) {
  const CommandResult result =
      RunProgram({"-i", Input(), "-o", mOutput, "-s", "1", "-e", "2.5", "--progress", "json"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(Contains(result.out + result.err, "\"lost_sound\":1.500")) << result.out;
}

TEST_P(UnknownCodec, IsNoLossIfNoSoundIsWanted) {
  const CommandResult result = RunProgram({"-i", Input(), "-o", mOutput, "--no-sound", "--strict"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_FALSE(Contains(result.err, "the sound ")) << result.err;
}

INSTANTIATE_TEST_SUITE_P(Files, UnknownCodec,
                         testing::Values(LostCase{"mov", "pcm_s16le", "sowt"},
                                         LostCase{"mkv", "flac", "A_FLAC"}),
                         [](const auto& one) { return std::string(one.param.extension); });

// FFmpeg's own probe ends before such sound.
class LateSound : public testing::TestWithParam<const char*> {};

TEST_P(LateSound, IsReversed) {
  const std::string input =
      Make(std::string("late_sound.") + GetParam(),
           {{"-f", "lavfi", "-i", "testsrc2=s=160x90:r=25:d=14", "-itsoffset", "9"}, kSweep},
           "-t 13 -c:v mpeg2video -c:a mp2");
  const std::string output = ScratchPath("late_sound.mov");
  const CommandResult result = RunProgram({"-i", input, "-o", output, "--strict"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(ReversedLine(result.err), "325 pictures and 13.000 s of sound reversed");
  // What is heard from 9 to 13 s of the source comes first.
  ExpectSound(DecodeStereo(Make("chosen_sweep.wav", {kSweep}, "-t 4")), output);
}

INSTANTIATE_TEST_SUITE_P(Files, LateSound, testing::Values("ts", "vob"),
                         [](const auto& one) { return std::string(one.param); });

TEST(NoSound, IsNoLoss) {
  const CommandResult result =
      RunProgram({"-i", Clip(ClipKind::kH264NoAudio), "-o", ScratchPath("silent.mp4"), "--strict"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_FALSE(Contains(result.err, "sound")) << result.err;
}

// The last of 50 pictures begins an hour later than the others.
TEST(QuietHour, LosesItsSoundNotWithoutAWord) {
  const std::string input = Make(
      "quiet_hour.mkv", {kPictures, {"-f", "lavfi", "-i", SweepFilter(48000, "stereo") + ":d=2"}},
      "-vf setpts='if(eq(N,49),3600/TB,PTS)' -frames:v 50 " + FrameTimingOption() +
          " passthrough -c:v libx264 -pix_fmt yuv420p -c:a aac");
  const std::string output = ScratchPath("quiet_hour.out.mkv");
  const CommandResult result = RunProgram({"-i", input, "-o", output});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(
      Contains(result.err, "neither pictures nor sound for 59 minutes; its sound is left out"));
  EXPECT_TRUE(Contains(result.err, "s of sound could not be decoded (the first at 0.000 s)"));
  EXPECT_EQ(RunProgram({"-i", input, "-o", output, "--strict", "--overwrite", "yes"}).status,
            kFailure);
}

}  // namespace
}  // namespace test_support
