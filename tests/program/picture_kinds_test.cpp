// SPDX-License-Identifier: MIT
// Pictures of kinds that the output cannot have as they are, against what ffmpeg makes of the
// source.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "codec/ffmpeg/ffmpeg_headers.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

std::vector<std::string> Words(const std::string& text) {
  std::vector<std::string> words;
  AppendWords(text, &words);
  return words;
}

// What ffmpeg shows of a clip, losslessly: its decoder's words before the input, the filter after.
std::string Shown(const std::string& clip, const std::string& name, const std::string& decoder,
                  const std::string& filter) {
  std::vector<std::string> words = Words(decoder);
  words.insert(words.end(), {"-i", clip, "-filter_complex", filter, "-an", "-c:v", "libx264", "-qp",
                             "0", "-pix_fmt", "yuv420p"});
  return CustomClip("shown_" + name + ".mkv", words);
}

// The pictures of `output` are those of `shown`, in the opposite order.
void ExpectReversed(const std::string& output, const std::string& shown, size_t count,
                    double psnr) {
  std::vector<Picture> expected = DecodeLuma(shown);
  std::reverse(expected.begin(), expected.end());
  const std::vector<Picture> pictures = DecodeLuma(output);
  ASSERT_EQ(expected.size(), count) << shown;
  ASSERT_EQ(pictures.size(), count) << output;
  for (size_t i = 0; i < count; ++i) {
    ASSERT_EQ(pictures[i].width, expected[i].width) << output;
    ASSERT_EQ(pictures[i].height, expected[i].height) << output;
    EXPECT_GE(Psnr(pictures[i], expected[i]), psnr) << output << " picture " << i;
  }
}

struct Transparent {
  const char* name;
  const char* coding;
  const char* decoder;  // ffmpeg's words to have it decode the transparency
};

constexpr Transparent kTransparent[] = {
    {"animation.mov", "-c:v qtrle -pix_fmt argb", ""},
    {"png.mkv", "-c:v png -pix_fmt rgba", ""},
    {"prores.mov", "-c:v prores_ks -profile:v 4 -pix_fmt yuva444p10le", ""},
    {"vp9.webm", "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -b:v 3M -pix_fmt yuva420p",
     "-c:v libvpx-vp9"},
    {"vp8.webm",
     "-c:v libvpx -deadline realtime -cpu-used 8 -b:v 3M -auto-alt-ref 0 -pix_fmt "
     "yuva420p",
     "-c:v libvpx"},
    {"ffv1.mkv", "-c:v ffv1 -pix_fmt yuva420p", ""}};

constexpr size_t kTransparentPictures = 30;

// More and more transparent to the right, in colors that would show without it.
std::string TransparentClip(const Transparent& kind) {
  std::vector<std::string> words = {
      "-f",
      "lavfi",
      "-i",
      SceneFilter(400, 240, "25") + ",format=rgba,geq=r='r(X,Y)':g='g(X,Y)':b='255':a='255-X/2'",
      "-frames:v",
      std::to_string(kTransparentPictures)};
  AppendWords(kind.coding, &words);
  return CustomClip(std::string("transparent_") + kind.name, words);
}

class Transparency : public testing::TestWithParam<Transparent> {};

TEST_P(Transparency, ShowsBlack) {
  const Transparent& kind = GetParam();
  const std::string input = TransparentClip(kind);
  const std::string shown = Shown(input, std::string("transparent_") + kind.name, kind.decoder,
                                  "color=black:s=400x240:r=25[black];[black][0:v]overlay=shortest=1"
                                  ":format=auto");
  for (const char* name : {"out.mp4", "out.mkv", "out.ts"}) {
    const std::string output = ScratchPath(name);
    const CommandResult result = RunProgram({"-i", input, "-o", output});
    ASSERT_EQ(result.status, 0) << result.err;
    ExpectReversed(output, shown, kTransparentPictures, 30);
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, Transparency, testing::ValuesIn(kTransparent),
                         [](const auto& parameter) {
                           const std::string name = parameter.param.name;
                           return name.substr(0, name.find('.'));
                         });

struct Oriented {
  const char* name;
  std::array<int, 4> matrix;  // signs of the upper left four numbers
};

constexpr Oriented kOriented[] = {{"mirrored", {-1, 0, 0, 1}},     {"half_turn", {-1, 0, 0, -1}},
                                  {"flipped", {1, 0, 0, -1}},      {"transposed", {0, 1, 1, 0}},
                                  {"quarter_turn", {0, 1, -1, 0}}, {"transverse", {0, -1, -1, 0}},
                                  {"back_turn", {0, -1, 1, 0}}};

constexpr int kSide = 320;
constexpr size_t kOrientedPictures = 26;

std::string OrientedClip(const Oriented& kind) {
  const std::string straight = CustomClip(
      "oriented_straight.mp4", {"-f", "lavfi", "-i", SceneFilter(kSide, kSide / 2, "25"), "-f",
                                "lavfi", "-i", SweepFilter(48000, "stereo"), "-t", "1.04", "-c:v",
                                "libx264", "-pix_fmt", "yuv420p", "-bf", "0", "-c:a", "aac"});
  const auto& [a, b, c, d] = kind.matrix;
  // What is moved out of view to the left or above is moved back.
  const int width = (a < 0 ? kSide : 0) + (c < 0 ? kSide / 2 : 0);
  const int height = (b < 0 ? kSide : 0) + (d < 0 ? kSide / 2 : 0);
  return MatrixCopy(
      straight, std::string("oriented_") + kind.name + ".mp4",
      {a * 65536, b * 65536, 0, c * 65536, d * 65536, 0, width * 65536, height * 65536, 1 << 30});
}

class Orientations : public testing::TestWithParam<Oriented> {};

TEST_P(Orientations, LookAsTheSourceDoes) {
  const Oriented& kind = GetParam();
  const bool isMirrored = kind.matrix[0] * kind.matrix[3] - kind.matrix[1] * kind.matrix[2] < 0;
  if (isMirrored && avcodec_version() >> 16 < 59) {
    GTEST_SKIP() << "the installed ffmpeg does not mirror";
  }
  const std::string input = OrientedClip(kind);
  const std::string shown = Shown(input, std::string("oriented_") + kind.name, "", "[0:v]null");
  for (const char* name : {"out.mp4", "out.mkv", "out.avi", "out.ts"}) {
    const std::string output = ScratchPath(name);
    const CommandResult result = RunProgram({"-i", input, "-o", output});
    ASSERT_EQ(result.status, 0) << result.err;
    const std::string seen = ScratchPath(std::string("seen_") + name + ".mkv");
    ASSERT_EQ(test_support::Run({"ffmpeg", "-v", "error", "-y", "-i", output, "-filter_complex",
                                 "[0:v]null", "-an", "-c:v", "libx264", "-qp", "0", seen})
                  .status,
              0);
    ExpectReversed(seen, shown, kOrientedPictures, 30);
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, Orientations, testing::ValuesIn(kOriented),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

std::string Bytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// A transport stream whose second half has pictures of another size and format.
std::string ChangingClip() {
  const std::string path = CustomClip(
      "changing_1.ts", {"-f", "lavfi", "-i", SceneFilter(640, 360, "25"), "-t", "2", "-c:v",
                        "libx264", "-pix_fmt", "yuv420p", "-g", "25", "-bf", "0"});
  const std::string other =
      CustomClip("changing_2.ts",
                 {"-f", "lavfi", "-i", SceneFilter(480, 320, "25"), "-t", "2", "-c:v", "libx264",
                  "-pix_fmt", "yuv444p", "-g", "25", "-bf", "0", "-output_ts_offset", "2"});
  const std::string joined = ScratchPath("changing.ts");
  std::ofstream(joined, std::ios::binary) << Bytes(path) << Bytes(other);
  return joined;
}

// Each of these is resized by way of 4:2:0 pictures of 8 bits.
TEST(PictureKinds, AreResizedInAnyFormat) {
  constexpr size_t kPictures = 30;
  for (const char* format : {"yuv422p", "yuv420p10le", "yuv422p10le", "rgb24", "gray", "yuv411p"}) {
    const std::string input = CustomClip(
        std::string("resized_") + format + ".mkv",
        {"-f", "lavfi", "-i", SceneFilter(640, 360, "25"), "-frames:v", std::to_string(kPictures),
         "-c:v", format == std::string("rgb24") ? "png" : "ffvhuff", "-pix_fmt", format});
    const std::string shown =
        Shown(input, std::string("resized_") + format, "", "[0:v]scale=320:180:flags=area");
    for (const char* codec : {"libx264", "libx265"}) {
      const std::string output = ScratchPath("resized.mp4");
      const CommandResult result = RunProgram(
          {"-i", input, "-o", output, "--set", "target-width=320", "--set", "target-height=180",
           "--set", std::string("video-codec=") + codec, "--set", "thread-count=2"});
      ASSERT_EQ(result.status, 0) << result.err;
      ExpectReversed(output, shown, kPictures, 30);
    }
  }
}

// Pictures that have the wanted size already keep their depth.
TEST(PictureKinds, AreNotTouchedIfTheyHaveTheSize) {
  const std::string input =
      CustomClip("deep_size.mkv", {"-f", "lavfi", "-i", SceneFilter(160, 96, "25"), "-frames:v",
                                   "5", "-c:v", "ffvhuff", "-pix_fmt", "yuv422p10le"});
  const std::string output = ScratchPath("deep_size.mkv");
  const CommandResult result =
      RunProgram({"-i", input, "-o", output, "--set", "video-codec=ffv1", "--set",
                  "target-width=160", "--set", "target-height=96"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(test_support::StreamFields(output, "v")["pix_fmt"], "yuv422p10le");
}

TEST(PictureKinds, ThatChangeInTheStreamAreMadeLikeTheFirst) {
  const std::string transport = ChangingClip();
  const std::string matroska = ScratchPath("changing.mkv");
  ASSERT_EQ(
      test_support::Run({"ffmpeg", "-v", "error", "-y", "-i", transport, "-c", "copy", matroska})
          .status,
      0);
  const std::string shown = ScratchPath("changing_shown.mkv");
  ASSERT_EQ(
      test_support::Run({"ffmpeg", "-v", "error", "-y", "-i", transport, "-vf",
                         "scale=640:360,format=yuv420p", "-c:v", "libx264", "-qp", "0", shown})
          .status,
      0);
  for (const std::string& input : {transport, matroska}) {
    for (const char* name : {"out.mp4", "out.mkv", "out.ts"}) {
      const std::string output = ScratchPath(name);
      const CommandResult result = RunProgram({"-i", input, "-o", output});
      ASSERT_EQ(result.status, 0) << result.err;
      ExpectReversed(output, shown, 100, 25);
      const size_t warning = result.err.find("such pictures are scaled");
      EXPECT_NE(warning, std::string::npos);
      EXPECT_EQ(result.err.find("such pictures are scaled", warning + 1), std::string::npos);
    }
  }
}

}  // namespace
}  // namespace test_support
