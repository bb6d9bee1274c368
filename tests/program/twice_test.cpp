// SPDX-License-Identifier: MIT
// Clips of all kinds reversed twice, against ffmpeg's own decode of the original: the pictures in
// order and at their times, the sound beside them, and a length that does not grow.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/joined_clips.h"
#include "tests/support/media_reading.h"
#include "tests/support/player_view.h"

namespace test_support {
namespace {

constexpr int kWidth = kNumberBits * kNumberCell;
constexpr int kHeight = 64;

struct Kind {
  const char* name;
  const char* once;                     // what the first reversal writes
  std::string (*make)();                // the clip
  ViewWords words = {kWidth, kHeight};  // how ffmpeg shows the clip
  int height = kHeight;                 // of what is written

  friend void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }
};

// Scene and sweep, with these words of ffmpeg between them and the file.
std::string Made(const std::string& name, const std::string& words, const char* rate = "25",
                 int height = kHeight, const std::string& sweep = SweepFilter(48000, "stereo")) {
  std::vector<std::string> arguments = {
      "-f", "lavfi", "-i",       SceneFilter(kWidth, height, rate),
      "-f", "lavfi", "-i",       sweep,
      "-t", "2.4",   "-pix_fmt", "yuv420p",
      "-g", "20"};
  AppendWords(words, &arguments);
  return CustomClip("twice_" + name, arguments);
}

constexpr char kUsual[] = "-c:v libx264 -preset veryfast -bf 2 -c:a aac -b:a 192k";

std::string Oriented(const std::string& name, const std::array<int32_t, 9>& matrix) {
  return MatrixCopy(Made("upright.mp4", kUsual), "twice_" + name, matrix);
}

constexpr int kOne = 1 << 16;

std::string CutAmidAGroup() {
  const JoinedClip whole = JoinRecordings("twice_whole", JoinedCoding::kH264, {{0, 100, 7}});
  return CutBegin("twice_cut.ts", whole.path, 0.12);
}

// Only the pictures are joined. Sound of two parts would overlap by a part of a frame.
std::string Resized() {
  const std::string words = "-c:v libx264 -preset veryfast -bf 0 -an";
  const std::string first = Made("sized_0.ts", words);
  const std::string second = Made("sized_1.ts", words + " -vf scale=320:96 -output_ts_offset 2.4");
  const std::string silent = JoinFiles("twice_sized.ts", {first, second});
  return CustomClip("twice_sized_sound.ts",
                    {"-i", silent, "-f", "lavfi", "-i", SweepFilter(48000, "stereo"), "-map", "0:v",
                     "-map", "1:a", "-t", "4.8", "-c:v", "copy", "-c:a", "aac"});
}

const std::vector<Kind>& Kinds() {
  static const std::vector<Kind> kinds = {
      {"Usual", ".mp4", [] { return Made("usual.mp4", kUsual); }},
      {"UsualByMatroska", ".mkv", [] { return Made("usual.mp4", kUsual); }},
      {"UsualByTransport", ".ts", [] { return Made("usual.mp4", kUsual); }},
      {"Webm", ".mp4",
       [] { return Made("vp8.webm", "-c:v libvpx -deadline realtime -b:v 2M -c:a libopus"); }},
      {"Mono44", ".ts",
       [] { return Made("mono.mp4", kUsual, "30000/1001", kHeight, SweepFilter(44100, "mono")); }},
      {"VariableRate", ".mkv",
       [] {
         return Made("variable.mp4", std::string(kUsual) +
                                         " -vf select=not(mod(n\\,3)*gt(n\\,25)) " +
                                         FrameTimingOption() + " vfr");
       }},
      {"CutAmidAGroup", ".mkv", &CutAmidAGroup},
      // The ffmpeg of FFmpeg 4 turns pictures, but does not mirror them.
      {"MirroredLikeASelfie",
       ".mp4",
       [] {
         return Oriented("selfie.mp4", {-kOne, 0, 0, 0, kOne, 0, kWidth * kOne, 0, 1 << 30});
       },
       {kWidth, kHeight, "-noautorotate", "hflip"}},
      {"Portrait",
       ".mkv",
       [] {
         return Oriented("portrait.mp4", {0, kOne, 0, -kOne, 0, 0, kHeight * kOne, 0, 1 << 30});
       },
       {kHeight, kWidth}},
      {"PicturesOfAnotherSize", ".mkv", &Resized, {kWidth, kHeight, "", "scale=400:64"}},
      {"Transparent",
       ".mp4",
       [] {
         return Made("transparent.mkv",
                     "-vf format=rgba,geq=r='r(X,Y)':g='g(X,Y)':b='255':a='255-X/4' -c:v ffv1 "
                     "-pix_fmt yuva420p -c:a flac");
       },
       {kWidth, kHeight, "",
        "format=yuva420p[a];color=black:s=400x64:r=25[black];[black][a]overlay=shortest=1"}},
      {"Surround", ".ts",
       [] {
         return Made("surround.ts", "-c:v mpeg2video -q:v 2 -c:a ac3 -b:a 448k", "25", kHeight,
                     SweepFilter(48000, "5.1"));
       }},
      {"HighRateOfSound",
       ".mkv",
       [] {
         return Made("high.mov", "-c:v mjpeg -q:v 2 -pix_fmt yuvj420p -c:a pcm_s16le", "25",
                     kHeight, SweepFilter(192000, "stereo"));
       },
       {kWidth, kHeight, "", "null", 96000}},
      {"SixtyAsSecond",
       ".mp4",
       [] { return Made("sixty.mp4", kUsual, "60", 240); },
       {kWidth, 240},
       240},
      {"Silent", ".ts", [] { return Made("silent.mp4", std::string(kUsual) + " -an"); }},
      {"Pcm", ".mp4", [] { return Made("pcm.mov", "-c:v libx264 -bf 0 -c:a pcm_s16le"); }},
  };
  return kinds;
}

// How the program's own outputs are shown: they have nothing left to be converted.
ViewWords Plain(const Kind& kind) { return {kind.words.width, kind.words.height}; }

std::string ReversedTimes(int times, const std::string& clip, const std::string& name,
                          const std::string& extension) {
  std::string input = clip;
  for (int i = 1; i <= times; ++i) {
    const std::string output = ScratchPath(name + std::to_string(i) + extension);
    const CommandResult result = RunProgram({"-i", input, "-o", output});
    EXPECT_EQ(result.status, 0) << result.err;
    input = output;
  }
  return input;
}

class Twice : public testing::TestWithParam<Kind> {};

TEST_P(Twice, AreTheOriginalAgain) {
  const Kind& kind = GetParam();
  const std::string clip = kind.make();
  const std::string once = ReversedTimes(1, clip, "once_", kind.once);
  const std::string twice = ReversedTimes(1, once, "twice_", ".mp4");
  PlayerView source = ViewOf(clip, kind.words);
  const PlayerView seen = ViewOf(once, Plain(kind));
  {
    SCOPED_TRACE("once");
    ExpectSame(Mirrored(source), seen, -kLengthRounding, kLengthRounding);
  }
  source.pictureTick += seen.pictureTick;
  source.soundTick += seen.soundTick;
  ExpectSame(source, ViewOf(twice, Plain(kind)), -2 * kLengthRounding,
             SoundFrame(source.rate) + 2 * kLengthRounding);
}

INSTANTIATE_TEST_SUITE_P(Kinds, Twice, testing::ValuesIn(Kinds()),
                         [](const auto& tested) { return std::string(tested.param.name); });

// The first reversal fills the last frame of sound up; then nothing changes any more.
TEST(FourTimes, NothingDrifts) {
  const std::string clip =
      Made("drift.mp4", kUsual, "30000/1001", kHeight, SweepFilter(44100, "mono"));
  const ViewWords words = {kWidth, kHeight};
  for (const char* extension : {".mp4", ".mkv", ".ts"}) {
    SCOPED_TRACE(extension);
    const PlayerView four = ViewOf(ReversedTimes(4, clip, "drift_", extension), words);
    const PlayerView twice = ViewOf(ScratchPath(std::string("drift_2") + extension), words);
    PlayerView source = ViewOf(clip, words);
    source.pictureTick += 3 * four.pictureTick;
    source.soundTick += 3 * four.soundTick;
    ExpectSame(source, four, -kLengthRounding, SoundFrame(source.rate) + kLengthRounding);
    EXPECT_NEAR(four.end, twice.end, kLengthRounding);
    EXPECT_NEAR(four.times.back(), twice.times.back(), kLengthRounding);
  }
}

// Fast at its beginning, and slow on average: a picture in three seconds.
std::string FastThenSlow() {
  return CustomClip("twice_uneven.mp4",
                    {"-f", "lavfi", "-i",
                     SceneFilter(kWidth, kHeight, "25") +
                         ",trim=end_frame=20,setpts='if(lt(N,10),N/25,(N-9)*8)/TB'",
                     "-c:v", "libx264", "-preset", "veryfast", "-pix_fmt", "yuv420p",
                     FrameTimingOption(), "vfr", "-video_track_timescale", "90000"});
}

TEST(TwiceUneven, KeepsTimesAndLength) {
  const std::string clip = FastThenSlow();
  const std::vector<double> times = VideoTimes(clip);
  ASSERT_EQ(times.size(), 20U);
  // The length that FFmpeg 9 writes ends before the last picture begins.
  const double length = std::max(std::stod(ContainerFields(clip)["duration"]), times.back() + 0.04);
  for (const char* extension : {".mp4", ".mov", ".mkv"}) {
    for (const char* option : {"--strict", "--like-source"}) {
      SCOPED_TRACE(std::string(extension) + " " + option);
      std::string input = clip;
      for (const char* name : {"uneven_1", "uneven_2"}) {
        const std::string output = ScratchPath(std::string(name) + extension);
        const CommandResult result = RunProgram({"-i", input, "-o", output, option});
        ASSERT_EQ(result.status, 0) << result.err;
        // FFmpeg takes the rate that H.264 in Matroska names for a constant one.
        const bool isGuessed = input.find(".mkv") != std::string::npos;
        if (!isGuessed) {
          EXPECT_NEAR(std::stod(ContainerFields(output)["duration"]), length, kLengthRounding);
        }
        input = output;
      }
      const std::vector<double> again = VideoTimes(input);
      ASSERT_EQ(again.size(), times.size());
      for (size_t i = 0; i < times.size(); ++i) {
        EXPECT_NEAR(again[i] - again[0], times[i] - times[0], 0.003) << i;
      }
    }
  }
}

// Tags are kept through both, and chapters are where they were.
TEST(TwiceMarked, KeepsTitlesAndChapters) {
  const std::string marks = ScratchPath("marks.txt");
  std::ofstream(marks) << ";FFMETADATA1\ntitle=A walk\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\n"
                          "END=1000\ntitle=First\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=1000\n"
                          "END=2400\ntitle=Second\n";
  const std::string clip = CustomClip(
      "twice_marked.mp4", {"-i", Made("silent.mp4", std::string(kUsual) + " -an"), "-i", marks,
                           "-map_metadata", "1", "-map_chapters", "1", "-c", "copy"});
  const std::string twice = ReversedTimes(2, clip, "marked_", ".mp4");
  EXPECT_EQ(ContainerFields(twice).at("TAG:title"), "A walk");
  EXPECT_EQ(
      test_support::Run({"ffprobe", "-v", "error", "-show_entries",
                         "chapter=start_time,end_time:chapter_tags=title", "-of", "csv=p=0", twice})
          .out,
      "0.000000,1.000000,First\n1.000000,2.400000,Second\n");
}

}  // namespace
}  // namespace test_support
