// SPDX-License-Identifier: MIT
#include "codec/utils/over_black.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "codec/ffmpeg/owned.h"
#include "tests/support/command.h"

namespace codec {
namespace {

constexpr int kWidth = 32;
constexpr int kHeight = 16;

std::vector<uint8_t> Random(size_t bytes) {
  std::mt19937 numbers(7);
  std::vector<uint8_t> picture(bytes);
  for (uint8_t& byte : picture) byte = static_cast<uint8_t>(numbers());
  return picture;
}

size_t BytesOf(AVPixelFormat format) {
  return static_cast<size_t>(av_image_get_buffer_size(format, kWidth, kHeight, 1));
}

// One color and one alpha everywhere, written by hand.
std::vector<uint8_t> Repeated(const std::vector<uint8_t>& pixel) {
  std::vector<uint8_t> picture;
  for (int i = 0; i < kWidth * kHeight; ++i) {
    picture.insert(picture.end(), pixel.begin(), pixel.end());
  }
  return picture;
}

std::vector<uint8_t> Blended(const char* format, std::vector<uint8_t> picture,
                             bool isFullRange = false) {
  const AVPixelFormat number = av_get_pix_fmt(format);
  EXPECT_EQ(picture.size(), BytesOf(number)) << format;
  BlendOverBlack(number, isFullRange, kWidth, kHeight, picture.data());
  return picture;
}

TEST(OverBlack, FadesEachColorByAlphaInPackedFormats) {
  EXPECT_EQ(Blended("rgba", Repeated({200, 100, 50, 128})), Repeated({100, 50, 25, 128}));
  EXPECT_EQ(Blended("bgra", Repeated({200, 100, 50, 0})), Repeated({0, 0, 0, 0}));
  EXPECT_EQ(Blended("argb", Repeated({128, 200, 100, 50})), Repeated({128, 100, 50, 25}));
  EXPECT_EQ(Blended("abgr", Repeated({255, 1, 2, 3})), Repeated({255, 1, 2, 3}));
  EXPECT_EQ(Blended("ya8", Repeated({200, 51})), Repeated({40, 51}));
  EXPECT_EQ(Blended("rgba64be", Repeated({0x80, 0, 0x40, 0, 0, 2, 0x80, 0})),
            Repeated({0x40, 0, 0x20, 0, 0, 1, 0x80, 0}));
  EXPECT_EQ(Blended("rgba64le", Repeated({0, 0x80, 0, 0x40, 2, 0, 0, 0x80})),
            Repeated({0, 0x40, 0, 0x20, 1, 0, 0, 0x80}));
}

TEST(OverBlack, FadesTowardTheBlackOfTheRangeInYuv) {
  const size_t pixels = size_t{kWidth} * kHeight;
  const auto planes = [pixels](uint8_t luma, uint8_t chroma, uint8_t alpha) {
    std::vector<uint8_t> picture(pixels * 4, chroma);
    std::fill_n(picture.begin(), pixels, luma);
    std::fill_n(picture.rbegin(), pixels, alpha);
    return picture;
  };
  EXPECT_EQ(Blended("yuva444p", planes(235, 28, 0)), planes(16, 128, 0));
  EXPECT_EQ(Blended("yuva444p", planes(235, 28, 0), true), planes(0, 128, 0));
  EXPECT_EQ(Blended("yuva444p", planes(116, 228, 51)), planes(36, 148, 51));
  EXPECT_EQ(Blended("yuva444p", planes(116, 228, 255)), planes(116, 228, 255));
}

TEST(OverBlack, TakesTheMeanAlphaOfThePixelsOfAChromaSample) {
  const AVPixelFormat format = AV_PIX_FMT_YUVA420P;
  std::vector<uint8_t> picture(BytesOf(format), 228);
  const size_t chroma = size_t{kWidth} * kHeight;
  const size_t alpha = chroma * 3 / 2;
  std::fill(picture.begin() + static_cast<std::ptrdiff_t>(alpha), picture.end(), uint8_t{0});
  picture[alpha] = 255;
  picture[alpha + 1] = 255;
  BlendOverBlack(format, false, kWidth, kHeight, picture.data());
  EXPECT_EQ(picture[0], 228);
  EXPECT_EQ(picture[2], 16);
  EXPECT_EQ(picture[chroma], 178) << "half of the block is opaque";
  EXPECT_EQ(picture[chroma + 1], 128);
}

TEST(OverBlack, FadesPalettes) {
  std::vector<uint8_t> picture(BytesOf(AV_PIX_FMT_PAL8));
  const uint32_t colors[] = {0xff102030U, 0x80c86432U, 0x00ffffffU};
  std::memcpy(picture.data() + kWidth * kHeight, colors, sizeof(colors));
  BlendOverBlack(AV_PIX_FMT_PAL8, false, kWidth, kHeight, picture.data());
  uint32_t faded[3];
  std::memcpy(faded, picture.data() + kWidth * kHeight, sizeof(faded));
  EXPECT_EQ(faded[0], 0xff102030U);
  EXPECT_EQ(faded[1], 0x80643219U);
  EXPECT_EQ(faded[2], 0U);
}

TEST(OverBlack, LeavesOpaqueFormatsAndAlphaItselfAlone) {
  for (const char* name : {"yuv420p", "rgb24", "rgb0", "gray", "yuv422p10le", "nv12"}) {
    EXPECT_FALSE(CanBeTransparent(av_get_pix_fmt(name))) << name;
    const std::vector<uint8_t> picture = Random(BytesOf(av_get_pix_fmt(name)));
    EXPECT_EQ(Blended(name, picture), picture) << name;
  }
}

std::vector<uint8_t> Raw(std::vector<std::string> words) {
  std::vector<std::string> command = {"ffmpeg", "-v", "error"};
  command.insert(command.end(), words.begin(), words.end());
  command.insert(command.end(), {"-frames:v", "1", "-f", "rawvideo", "-"});
  const auto result = test_support::Run(command);
  EXPECT_EQ(result.status, 0) << result.err;
  return std::vector<uint8_t>(result.out.begin(), result.out.end());
}

// A smooth picture, in whose chroma a mean differs little from a sample.
TEST(OverBlack, IsWhatFfmpegsOverlayOnBlackGives) {
  const std::string size = std::to_string(kWidth) + "x" + std::to_string(kHeight);
  struct Row {
    const char* format;
    const char* opaque;
    const char* overlay;
  };
  constexpr Row kRows[] = {{"yuva420p", "yuv420p", "yuv420"},
                           {"yuva422p", "yuv422p", "yuv422"},
                           {"yuva444p", "yuv444p", "yuv444"},
                           {"gbrap", "gbrp", "gbrp"}};
  for (const auto& [format, opaque, overlay] : kRows) {
    const std::vector<uint8_t> source =
        Raw({"-f", "lavfi", "-i",
             "color=black:s=" + size +
                 ",format=gbrap,geq=r='255-X*6':g='X*5+Y':b='80+Y*8':a='Y*16'"
                 ",format=" +
                 format});
    const std::string path = test_support::ScratchPath(std::string(format) + ".raw");
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(source.data()),
               static_cast<std::streamsize>(source.size()));
    const std::vector<uint8_t> expected =
        Raw({"-f", "lavfi", "-i", "color=black:s=" + size + ",format=" + opaque, "-f", "rawvideo",
             "-pix_fmt", format, "-s", size, "-i", path, "-filter_complex",
             std::string("[0][1]overlay=format=") + overlay + ",format=" + opaque});
    const std::vector<uint8_t> blended = Blended(format, source);
    ASSERT_EQ(expected.size(), BytesOf(av_get_pix_fmt(opaque))) << format;
    int most = 0;
    for (size_t i = 0; i < expected.size(); ++i) {
      most = std::max(most, std::abs(int{expected[i]} - blended[i]));
    }
    EXPECT_LE(most, 3) << format;
  }
}

}  // namespace
}  // namespace codec
