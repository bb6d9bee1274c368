// SPDX-License-Identifier: MIT
// The recipes of the documentation: each is run as it stands there.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

// The options of each row of the table: what stands between the last two backquotes.
std::vector<std::string> Recipes() {
  std::ifstream page(CLIPREVERSE_RECIPES);
  std::vector<std::string> recipes;
  for (std::string line; std::getline(page, line);) {
    const size_t begin = line.find("`-o ");
    if (line.compare(0, 1, "|") != 0 || begin == std::string::npos) continue;
    recipes.push_back(line.substr(begin + 1, line.find('`', begin + 1) - begin - 1));
  }
  return recipes;
}

// The same pictures, each for itself.
std::string ClipOfJpegs() {
  return CustomClip("recipe_jpegs.mov", {"-i", Clip(ClipKind::kH264), "-c:v", "mjpeg", "-q:v", "2",
                                         "-pix_fmt", "yuvj420p", "-c:a", "copy"});
}

struct Codecs {
  const char* video;
  const char* audio;
};

TEST(Recipes, GiveTheCodecsThatTheyPromise) {
  const std::map<std::string, Codecs> expected = {
      {"small.mp4", {"h264", "aac"}},    {"web.webm", {"vp9", "opus"}},
      {"phone.mp4", {"hevc", "aac"}},    {"edit.mov", {"prores", "pcm_s24le"}},
      {"archive.mkv", {"ffv1", "flac"}}, {"old.avi", {"mpeg4", "mp3"}},
      {"like.mp4", {"h264", "aac"}},     {"copy.mov", {"mjpeg", "pcm_f32le"}},
  };
  const std::vector<std::string> recipes = Recipes();
  EXPECT_EQ(recipes.size(), expected.size());
  for (const std::string& recipe : recipes) {
    std::vector<std::string> words;
    AppendWords(recipe, &words);
    ASSERT_GE(words.size(), 2U);
    const std::string name = words[1];
    ASSERT_EQ(expected.count(name), 1U) << name;
    words[1] = ScratchPath(name);
    const bool isCopy = recipe.find("--copy") != std::string::npos;
    words.insert(words.end(), {"-i", isCopy ? ClipOfJpegs() : Clip(ClipKind::kH264), "-e", "1"});
    if (!isCopy) words.insert(words.end(), {"--set", "thread-count=2"});
    const CommandResult result = RunProgram(words);
    ASSERT_EQ(result.status, 0) << recipe << " " << result.err;
    EXPECT_EQ(StreamFields(ScratchPath(name), "v")["codec_name"], expected.at(name).video) << name;
    EXPECT_EQ(StreamFields(ScratchPath(name), "a")["codec_name"], expected.at(name).audio) << name;
    const std::vector<Picture> pictures = DecodeLuma(ScratchPath(name));
    ASSERT_EQ(pictures.size(), 25U) << name;
    for (int i = 0; i < 25; ++i) {
      EXPECT_EQ(ReadFrameNumber(pictures[static_cast<size_t>(i)]), 24 - i) << name;
    }
  }
}

struct Refusal {
  const char* output;
  const char* keys;
  const char* advice;  // follows the name of the output
};

// Nothing is written, and the last line says what would work.
TEST(Recipes, ThatCannotWorkEndBeforeTheOutputExists) {
  const Refusal refusals[] = {
      {"a.webm", "video-codec=libx265",
       " cannot hold hevc; use --set video-codec=libvpx-vp9 --set audio-codec=libopus, or .mp4, "
       ".mov, .mkv, .avi or .ts"},
      {"a.ts", "audio-codec=flac",
       " cannot hold flac; use --set video-codec=libx264 --set audio-codec=aac, or .mp4, .mov, "
       ".mkv, .avi or .ts"},
      {"a.mp4", "video-codec=libx269", " cannot be made: FFmpeg has no encoder libx269"},
      {"a.mp4", "output-color-format=yuv42p", " cannot be made: FFmpeg has no pixel format yuv42p"},
      {"a.mp4", "video-opt:foo=2", " cannot be made: libx264 has no option foo"},
      {"a.mp4", "video-codec=huffyuv",
       " cannot hold huffyuv; use --set video-codec=libx264 --set audio-codec=aac, or .mp4, .mov, "
       ".mkv, .avi or .ts"},
  };
  for (const Refusal& refusal : refusals) {
    const std::string output = ScratchPath(refusal.output);
    const CommandResult result =
        RunProgram({"-i", Clip(ClipKind::kH264Short), "-o", output, "--set", refusal.keys});
    EXPECT_NE(result.status, 0) << refusal.keys;
    EXPECT_NE(result.err.find(output + refusal.advice + "\n"), std::string::npos) << result.err;
    EXPECT_FALSE(std::ifstream(output).good()) << output;
  }
}

// The options that the last line of a refused run names. Empty if there are none.
std::string OptionsOfAdvice(const std::string& log) {
  const std::string use = "; use ";
  const size_t begin = log.rfind(use);
  const size_t end = log.rfind(", or .mp4");
  if (begin == std::string::npos || end == std::string::npos || end < begin) return "";
  return log.substr(begin + use.size(), end - begin - use.size());
}

TEST(Recipes, OfTheAdviceAfterARefusalWork) {
  int refusals = 0;
  for (const char* const name :
       {"a.webm", "a.ogg", "a.mxf", "a.gif", "a%03d.jpg", "a%03d.png", "a.nut"}) {
    std::vector<std::string> words = {
        "-i",    Clip(ClipKind::kH264Short), "-o", ScratchPath(name), "-e", "0.3",
        "--set", "video-codec=prores_ks"};
    const CommandResult refused = RunProgram(words);
    if (refused.status == 0) continue;  // a container that takes everything
    ++refusals;
    const std::string options = OptionsOfAdvice(refused.err);
    ASSERT_NE(options, "") << refused.err;
    words.resize(words.size() - 2);
    AppendWords(options, &words);
    const CommandResult result = RunProgram(words);
    EXPECT_EQ(result.status, 0) << options << " " << result.err;
  }
  EXPECT_GE(refusals, 5);
}

}  // namespace
}  // namespace test_support
