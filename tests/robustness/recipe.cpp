// SPDX-License-Identifier: MIT
#include "tests/robustness/recipe.h"

#include <utility>
#include <vector>

#include "tests/support/clips.h"
#include "tests/support/command.h"

namespace test_support {
namespace {

constexpr char kScene[] = "-f lavfi -i testsrc2=size=160x90:rate=25";
constexpr char kSine[] = "-f lavfi -i sine=frequency=440:sample_rate=48000";

std::string Replaced(std::string text, const std::string& what, const std::string& with) {
  for (size_t at = text.find(what); at != std::string::npos;
       at = text.find(what, at + with.size())) {
    text.replace(at, what.size(), with);
  }
  return text;
}

}  // namespace

std::string MakeClip(const Recipe& recipe) {
  const std::pair<const char*, std::string> meanings[] = {
      {"{v}", kScene},
      {"{b}", "-f lavfi -i testsrc2=size=160x90:rate=15"},
      {"{v1}", std::string(kScene) + ":duration=2"},
      {"{a}", kSine},
      {"{s}", "-f lavfi -i sine=frequency=440:sample_rate=16000"},
      {"{a1}", std::string(kSine) + ":duration=1"},
      {"{x264}", "-c:v libx264 -preset ultrafast -pix_fmt yuv420p"},
      {"{timing}", FrameTimingOption()},
  };
  std::string text = recipe.words;
  for (const auto& [word, meaning] : meanings) text = Replaced(text, word, meaning);
  std::vector<std::string> words;
  AppendWords(text, &words);
  return CustomClip(recipe.name, words);
}

}  // namespace test_support
