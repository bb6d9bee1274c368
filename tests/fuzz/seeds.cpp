// SPDX-License-Identifier: MIT
#include "tests/fuzz/seeds.h"

#include <array>
#include <functional>
#include <map>

#include "tests/codec/filter/png_file.h"
#include "tests/robustness/corpus.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"

namespace fuzz {
namespace {

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

// A file and the words of its coding for ffmpeg.
struct Tiny {
  const char* file;
  const char* coding;
};

// The fuzzer tries each thousands of times. So they are as small as they can be and still have two
// groups of pictures, and codecs that open fast stand where the codec does not matter. H.264 and
// HEVC are there because their bytes are looked at.
constexpr std::array kTiny = {
    Tiny{"fuzz_mpeg4.mp4", "-t 0.4 -c:v mpeg4 -g 2 -bf 1 -c:a aac -ar 8000 -b:a 8k"},
    Tiny{"fuzz_h264.mkv",
         "-t 0.3 -c:v libx264 -preset ultrafast -pix_fmt yuv420p -g 2 -bf 1 -x264-params "
         "no-info=1 -c:a pcm_u8"},
    Tiny{"fuzz_hevc10.mkv",
         "-t 0.3 -s 32x32 -c:v libx265 -preset ultrafast -pix_fmt yuv420p10le -x265-params "
         "log-level=error:keyint=2:info=0 -c:a pcm_u8"},
    Tiny{"fuzz_vp8.webm", "-t 0.4 -c:v libvpx -deadline realtime -cpu-used 8 -g 2 -an"},
    Tiny{"fuzz_mpeg4.avi", "-t 0.4 -c:v mpeg4 -g 2 -bf 1 -c:a pcm_u8 -reserve_index_space 1"},
    Tiny{"fuzz_mjpeg.avi",
         "-t 0.3 -c:v mjpeg -pix_fmt yuvj420p -huffman default -q:v 30 -c:a pcm_u8 "
         "-reserve_index_space 1"},
    Tiny{"fuzz_mpeg2.ts", "-r 25 -t 0.2 -c:v mpeg2video -g 3 -bf 1 -c:a mp2 -ar 16000 -b:a 8k"},
    Tiny{"fuzz_mpeg1.mpg", "-r 25 -t 0.2 -c:v mpeg1video -g 3 -bf 1 -c:a mp2 -ar 16000 -b:a 8k"},
    Tiny{"fuzz_flv1.flv", "-t 0.4 -c:v flv1 -g 2 -c:a pcm_u8 -ar 5512"},
    Tiny{"fuzz_prores.mov", "-t 0.3 -c:v prores -pix_fmt yuv422p10le -c:a pcm_u8"},
    Tiny{"fuzz_theora.ogg", "-t 0.2 -c:v libtheora -g 2 -c:a flac -ar 8000"},
    Tiny{"fuzz_wmv2.wmv", "-t 0.4 -c:v wmv2 -g 2 -c:a pcm_u8 -packet_size 400"},
};

std::vector<std::string> DecoderSeeds() {
  std::vector<std::string> seeds;
  for (const Tiny& tiny : kTiny) {
    std::vector<std::string> words;
    test_support::AppendWords(
        std::string("-f lavfi -i testsrc2=size=16x16:rate=10 -f lavfi -i "
                    "sine=frequency=440:sample_rate=4000 -fflags +bitexact -flags +bitexact ") +
            tiny.coding,
        &words);
    seeds.push_back(test_support::ReadBytes(test_support::CustomClip(tiny.file, words)));
    // A file with one byte more is decoded with the additions, or without.
    seeds.push_back(seeds.back() + '\0');
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
