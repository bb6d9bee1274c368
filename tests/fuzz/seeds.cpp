// SPDX-License-Identifier: MIT
#include "tests/fuzz/seeds.h"

#include <array>
#include <functional>
#include <map>

#include "tests/codec/filter/png_file.h"
#include "tests/robustness/corpus.h"

namespace fuzz {
namespace {

constexpr size_t kLargest = 64 << 10;

std::vector<std::string> PngSeeds() {
  constexpr int kSide = 7;
  constexpr std::array kKinds = {
      codec::testing::PngKind{PNG_COLOR_TYPE_RGB, 8, false},
      codec::testing::PngKind{PNG_COLOR_TYPE_RGB, 8, true},
      codec::testing::PngKind{PNG_COLOR_TYPE_RGB, 16, false},
      codec::testing::PngKind{PNG_COLOR_TYPE_RGBA, 8, false},
      codec::testing::PngKind{PNG_COLOR_TYPE_PALETTE, 1, false},
  };
  // Enough for four samples of 16 bits a pixel.
  std::vector<uint8_t> pixels(kSide * kSide * 8);
  for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<uint8_t>(i * 37);
  std::vector<std::string> seeds;
  for (const codec::testing::PngKind& kind : kKinds) {
    seeds.push_back(
        test_support::ReadBytes(codec::testing::WritePng("seed.png", kSide, kSide, kind, pixels)));
  }
  return seeds;
}

std::vector<std::string> IniSeeds() {
  return {"[encoder]\nprofile=high\nlevel=51\n",
          "; a comment\r\n[Encoder]\r\nPROFILE = main ; another\r\nlevel: 4\r\n  continued\r\n",
          "[encoder]\nprofile=" + std::string(300, 'x') + "\n[other]\nlevel=3\nno pair\n[open\n"};
}

// An operation, the length of its key, its key, what it needs.
std::vector<std::string> FormatSeeds() {
  using namespace std::string_literals;
  const std::string text = "\0\5width\3640"s;
  const std::string integer = "\1\3gop\x19\0\0\0"s;
  const std::string number = "\2\5speed\0\0\0\0\0\0\xf8\x3f"s;
  const std::string copy = "\4\6preset\4fast"s;
  return {text + "\3\5width"s + integer + "\3\3gop"s, number + "\3\5speed"s, copy + "\3\6absent"s};
}

std::vector<std::string> DecoderSeeds() {
  std::vector<std::string> seeds;
  for (const std::string& path : test_support::BaseClips()) {
    seeds.push_back(test_support::ReadBytes(path).substr(0, kLargest));
  }
  return seeds;
}

}  // namespace

std::vector<std::string> Seeds(const std::string& target) {
  static const std::map<std::string, std::function<std::vector<std::string>()>> kMakers = {
      {"png", &PngSeeds}, {"ini", &IniSeeds}, {"format", &FormatSeeds}, {"decoder", &DecoderSeeds}};
  return kMakers.at(target)();
}

}  // namespace fuzz
