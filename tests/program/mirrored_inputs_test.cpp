// SPDX-License-Identifier: MIT
// Inputs whose files tell neither length nor stamps, or hold pictures of odd size.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

struct MirroredInput {
  const char* name;
  const char* suffix;
  int width;
  int height;
  const char* rate;    // pictures a second
  const char* coding;  // ffmpeg's words

  friend void PrintTo(const MirroredInput& input, std::ostream* out) { *out << input.name; }
};

const MirroredInput kInputs[] = {
    {"PipedWebm", "webm", 320, 180, "25", "-c:v libvpx -deadline realtime -g 20 -f webm"},
    {"RawH264", "h264", 320, 180, "25", "-c:v libx264 -preset veryfast -g 20 -bf 2 -f h264"},
    {"RawHevc", "hevc", 320, 180, "25",
     "-c:v libx265 -preset ultrafast -x265-params log-level=error:keyint=20 -f hevc"},
    {"OddGif", "gif", 313, 273, "10", "-f gif"},
    {"OddFfv1", "mkv", 321, 181, "25", "-c:v ffv1 -pix_fmt yuv444p -f matroska"},
};

class MirroredInputs : public testing::TestWithParam<MirroredInput> {};

// Nobody can seek in a pipe, so what the muxer would write in the end stays unwritten.
std::string ThroughAPipe(const MirroredInput& input) {
  const std::string path = ScratchPath(std::string("piped.") + input.suffix);
  const std::string scene = SceneFilter(input.width, input.height, input.rate);
  const CommandResult made = Run({"sh", "-c",
                                  "ffmpeg -v error -f lavfi -i '" + scene + "' -t 2.4 " +
                                      input.coding + " - | cat >'" + path + "'"});
  EXPECT_EQ(made.status, 0) << made.err;
  return path;
}

// The mean difference of two pictures where both have pixels.
double Difference(const Picture& a, const Picture& b) {
  int64_t sum = 0;
  for (int y = 0; y < a.height; ++y) {
    for (int x = 0; x < a.width; ++x) {
      sum += std::abs(int{a.luma[static_cast<size_t>(y * a.width + x)]} -
                      int{b.luma[static_cast<size_t>(y * b.width + x)]});
    }
  }
  return static_cast<double>(sum) / a.width / a.height;
}

TEST_P(MirroredInputs, GiveEachPictureNewestFirst) {
  const MirroredInput& input = GetParam();
  const std::string path = ThroughAPipe(input);
  const std::string output = ScratchPath(std::string(input.name) + ".mp4");
  const CommandResult result = RunProgram({"-i", path, "-o", output});
  ASSERT_EQ(result.status, 0) << result.err;
  const std::vector<Picture> source = DecodeLuma(path);
  const std::vector<Picture> mirrored = DecodeLuma(output);
  ASSERT_EQ(mirrored.size(), source.size());
  ASSERT_EQ(mirrored.size(), static_cast<size_t>(std::lround(2.4 * std::stod(input.rate))));
  EXPECT_EQ(mirrored[0].width, input.width / 2 * 2);
  EXPECT_EQ(mirrored[0].height, input.height / 2 * 2);
  for (size_t i = 0; i < mirrored.size(); ++i) {
    size_t nearest = 0;
    for (size_t k = 1; k < source.size(); ++k) {
      if (Difference(mirrored[i], source[k]) < Difference(mirrored[i], source[nearest])) {
        nearest = k;
      }
    }
    EXPECT_EQ(nearest, source.size() - 1 - i);
  }
  const std::vector<double> times = VideoTimes(output);
  for (size_t i = 0; i < times.size(); ++i) {
    EXPECT_NEAR(times[i], static_cast<double>(i) / std::stod(input.rate), 1e-3);
  }
}

// As it lies in the headers of Matroska and FLV.
std::string BigEndian(double value) {
  uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  std::string bytes;
  for (int shift = 56; shift >= 0; shift -= 8) bytes += static_cast<char>(bits >> shift);
  return bytes;
}

struct ShortLength {
  const char* suffix;
  std::string key;  // the bytes before the length
  double unit;      // in a second
};

// Some writers tell the time at which the last picture begins as the length.
TEST(ShortLength, LeavesOutNoPicture) {
  const ShortLength kRows[] = {{".mkv", "\x44\x89\x88", 1000},
                               {".flv", std::string("duration\0", 9), 1}};
  for (const ShortLength& row : kRows) {
    const std::string clip = CustomClip(std::string("short_length") + row.suffix,
                                        {"-f", "lavfi", "-i", SceneFilter(320, 180, "25"), "-t",
                                         "2", "-c:v", "libx264", "-bf", "2"});
    const std::vector<double> times = VideoTimes(clip);
    const double last = *std::max_element(times.begin(), times.end());
    const double told = std::stod(ContainerFields(clip)["duration"]);
    const std::string shortened =
        ReplacedCopy(clip, row.key + BigEndian(told * row.unit),
                     row.key + BigEndian(last * row.unit), std::string("shortened") + row.suffix);
    ASSERT_NEAR(std::stod(ContainerFields(shortened)["duration"]), last, 0.001) << row.suffix;
    const std::string output = ScratchPath(std::string("short_length") + row.suffix);
    const CommandResult result = RunProgram({"-i", shortened, "-o", output});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(VideoTimes(output).size(), times.size()) << row.suffix;
  }
}

// They are shorter than what containers round their length by.
TEST(ShortPictures, MakeNoLongerClip) {
  const std::string clip =
      CustomClip("short_pictures.mp4", {"-f", "lavfi", "-i", SceneFilter(160, 120, "600"), "-t",
                                        "0.5", "-c:v", "libx264", "-bf", "0"});
  const std::string output = ScratchPath("short_pictures.mp4");
  const CommandResult result = RunProgram({"-i", clip, "-o", output});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(VideoTimes(output).size(), VideoTimes(clip).size());
  EXPECT_NEAR(std::stod(ContainerFields(output)["duration"]),
              std::stod(ContainerFields(clip)["duration"]), 0.002);
}

// The first picture of the source stands for three seconds, and so does the last of the output.
TEST(LongFirstPicture, KeepsItsTime) {
  const std::string clip =
      CustomClip("long_first.mp4", {"-f", "lavfi", "-i", SceneFilter(320, 180, "30"), "-vf",
                                    "setpts='if(eq(N,0),0,PTS+3/TB)'", "-t", "4.5", "-c:v",
                                    "libx264", "-preset", "veryfast", "-bf", "0"});
  // If no time follows for the last picture, newer releases of FFmpeg tell its begin as the length.
  const double length =
      std::max(std::stod(ContainerFields(clip)["duration"]), VideoTimes(clip).back() + 1 / 30.0);
  for (const char* suffix : {".mp4", ".mkv", ".mov"}) {
    const std::string output = ScratchPath(std::string("long_first") + suffix);
    const CommandResult result = RunProgram({"-i", clip, "-o", output});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(VideoTimes(output).size(), VideoTimes(clip).size());
    EXPECT_NEAR(std::stod(ContainerFields(output)["duration"]), length, 0.002) << suffix;
  }
}

// All sound of this clip lies in one page, the last one.
TEST(CutOffOgg, IsReversed) {
  const std::string whole =
      CustomClip("cut_off.ogv", {"-f", "lavfi", "-i", SceneFilter(320, 180, "25"), "-f", "lavfi",
                                 "-i", SweepFilter(48000, "stereo"), "-t", "2", "-c:v", "libtheora",
                                 "-q:v", "7", "-c:a", "libvorbis"});
  for (const int percent : {60, 99}) {
    const std::string clip = ScratchPath("cut_off.ogv");
    std::filesystem::copy_file(whole, clip, std::filesystem::copy_options::overwrite_existing);
    std::filesystem::resize_file(clip, std::filesystem::file_size(whole) * percent / 100);
    const std::string output = ScratchPath("cut_off.mp4");
    const CommandResult result = RunProgram({"-i", clip, "-o", output});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(VideoTimes(output).size(), DecodeLuma(clip).size());
  }
}

// The index of AVI counts from 0 on, and the pictures begin three seconds later.
TEST(LatePictures, OfAviEndWithTheFile) {
  const std::string clip =
      CustomClip("late_pictures.avi", {"-itsoffset", "3",
                                       "-f",         "lavfi",
                                       "-i",         SceneFilter(320, 180, "25"),
                                       "-f",         "lavfi",
                                       "-i",         SweepFilter(48000, "stereo") + ":d=2",
                                       "-map",       "0:v",
                                       "-map",       "1:a",
                                       "-t",         "5",
                                       "-c:v",       "libx264",
                                       "-bf",        "2",
                                       "-c:a",       "pcm_s16le"});
  const std::string output = ScratchPath("late_pictures.mov");
  const CommandResult result = RunProgram({"-i", clip, "-o", output});
  ASSERT_EQ(result.status, 0) << result.err;
  const double told = std::stod(ContainerFields(clip)["duration"]);
  EXPECT_NEAR(std::stod(ContainerFields(output)["duration"]), told, 0.2);
}

// A transport stream's header has no size of the pictures; nothing is wrong with that.
TEST(TransportStream, IsReversedWithoutAnErrorLine) {
  const CommandResult result =
      RunProgram({"-i", Clip(ClipKind::kTransport), "-o", ScratchPath("quiet.mp4")});
  ASSERT_EQ(result.status, 0);
  EXPECT_EQ(result.err.find(" error   ["), std::string::npos) << result.err;
}

// An AVI file tells its palette once, with the first packet.
TEST(PaletteAvi, IsShownInItsColors) {
  const std::string path =
      CustomClip("palette.avi", {"-f", "lavfi", "-i", "smptebars=size=320x180:rate=25", "-t", "1.2",
                                 "-c:v", "rawvideo", "-pix_fmt", "pal8"});
  const std::string output = ScratchPath("palette.mp4");
  ASSERT_EQ(RunProgram({"-i", path, "-o", output}).status, 0);
  const std::vector<Picture> source = DecodeLuma(path);
  const std::vector<Picture> mirrored = DecodeLuma(output);
  ASSERT_EQ(mirrored.size(), 30U);
  ASSERT_EQ(source.size(), 30U);
  for (size_t i = 0; i < mirrored.size(); ++i) {
    EXPECT_LE(Difference(mirrored[i], source[29 - i]), 4) << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, MirroredInputs, testing::ValuesIn(kInputs),
                         [](const auto& tested) { return std::string(tested.param.name); });

// FFmpeg looks for the form of the pictures in the first five seconds only.
TEST(LatePictures, AreFoundLongAfterTheSound) {
  const std::string clip =
      CustomClip("late_pictures.mkv", {"-itsoffset",
                                       "9",
                                       "-f",
                                       "lavfi",
                                       "-i",
                                       SceneFilter(400, 64, "25") + ",trim=end_frame=50",
                                       "-f",
                                       "lavfi",
                                       "-i",
                                       SweepFilter(44100, "mono"),
                                       "-t",
                                       "11",
                                       FrameTimingOption(),
                                       "passthrough",
                                       "-c:v",
                                       "libx264",
                                       "-preset",
                                       "ultrafast",
                                       "-c:a",
                                       "flac"});
  const std::string output = ScratchPath("late_pictures.mp4");
  const CommandResult result = RunProgram({"-i", clip, "-o", output, "--strict"});
  ASSERT_EQ(result.status, 0) << result.err;
  const std::vector<Picture> pictures = DecodeLuma(output);
  ASSERT_EQ(pictures.size(), 50U);
  for (size_t i = 0; i < pictures.size(); ++i) {
    EXPECT_EQ(ReadFrameNumber(pictures[i]), static_cast<int>(49 - i));
  }
  EXPECT_NEAR(std::stod(StreamFields(output, "a")["duration"]), 11, 0.05);
}

}  // namespace
}  // namespace test_support
