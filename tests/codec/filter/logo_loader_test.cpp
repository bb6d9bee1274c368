// SPDX-License-Identifier: MIT
#include "codec/filter/logo_loader.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <random>

#include "tests/codec/filter/filter_fixture.h"
#include "tests/codec/filter/png_file.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

using testing::Noise;
using testing::WriteFile;
using testing::WritePng;
using Bytes = std::vector<uint8_t>;

Bytes Exchanged(Bytes bytes) {
  for (size_t i = 0; i < bytes.size(); i += 3) std::swap(bytes[i], bytes[i + 2]);
  return bytes;
}

TEST(LogoLoader, DeliversBlueGreenRedRowsOfAnRgbFile) {
  const Bytes rgb = Noise(13 * 7 * 3);
  for (const bool interlaced : {false, true}) {
    const std::string path =
        WritePng(interlaced ? "i.png" : "p.png", 13, 7, {PNG_COLOR_TYPE_RGB, 8, interlaced}, rgb);
    Logo logo;
    ASSERT_EQ(LoadLogo(path.c_str(), &logo), 0);
    EXPECT_EQ(logo.width, 13);
    EXPECT_EQ(logo.height, 7);
    EXPECT_EQ(logo.colorType, 2);
    EXPECT_EQ(logo.bitDepth, 8);
    EXPECT_EQ(Bytes(logo.pixels.get(), logo.pixels.get() + rgb.size()), Exchanged(rgb));
  }
}

TEST(LogoLoader, ReportsOtherColorTypesAsTheyAre) {
  struct Other {
    int type;
    int depth;
  };
  for (const Other other : {Other{PNG_COLOR_TYPE_GRAY, 8}, Other{PNG_COLOR_TYPE_GRAY, 16},
                            Other{PNG_COLOR_TYPE_PALETTE, 1}, Other{PNG_COLOR_TYPE_RGB_ALPHA, 8},
                            Other{PNG_COLOR_TYPE_GRAY_ALPHA, 8}}) {
    const std::string path =
        WritePng("other.png", 5, 4, {other.type, other.depth, false}, Bytes(5 * 4 * 8));
    Logo logo;
    ASSERT_EQ(LoadLogo(path.c_str(), &logo), 0) << other.type;
    EXPECT_EQ(logo.width, 5);
    EXPECT_EQ(logo.height, 4);
    EXPECT_EQ(logo.colorType, other.type);
    EXPECT_EQ(logo.bitDepth, other.depth);
    EXPECT_EQ(logo.pixels, nullptr);
  }
}

int CountErrors(const std::string& path) {
  const test_support::LogCapture log;
  Logo logo;
  EXPECT_NE(LoadLogo(path.c_str(), &logo), 0);
  EXPECT_EQ(logo.pixels, nullptr);
  return log.CountContaining(kLogError, "codec::LogoLoader", "cannot read logo " + path + ": ");
}

TEST(LogoLoader, RefusesSixteenBitSamples) {
  EXPECT_EQ(CountErrors(WritePng("deep.png", 2, 2, {PNG_COLOR_TYPE_RGB, 16, false}, Bytes(24))), 1);
}

TEST(LogoLoader, RefusesWhatIsNoPng) {
  EXPECT_EQ(CountErrors("/nowhere/logo.png"), 1);
  EXPECT_EQ(CountErrors("/"), 1);
  EXPECT_EQ(CountErrors("/dev/zero"), 1);
  EXPECT_EQ(CountErrors(WriteFile("empty.png", {})), 1);
  EXPECT_EQ(CountErrors(WriteFile("text.png", Bytes(200, 'x'))), 1);
}

TEST(LogoLoader, RefusesATruncatedFileWhereverItEnds) {
  const Bytes file = testing::ReadFile(
      WritePng("whole.png", 20, 20, {PNG_COLOR_TYPE_RGB, 8, false}, Noise(20 * 20 * 3)));
  for (size_t size = 0; size < file.size(); size += 37) {
    const auto end = file.begin() + static_cast<std::ptrdiff_t>(size);
    EXPECT_EQ(CountErrors(WriteFile("cut.png", Bytes(file.begin(), end))), 1) << size;
  }
}

void PutBigEndian(Bytes& bytes, size_t at, uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes[at++] = static_cast<uint8_t>(value >> (24 - 8 * i));
}

TEST(LogoLoader, RefusesAnAbsurdSizeAtOnce) {
  Bytes file =
      testing::ReadFile(WritePng("small.png", 2, 2, {PNG_COLOR_TYPE_RGB, 8, false}, Bytes(12, 50)));
  for (const uint32_t side : {65535U, 16384U, 0U}) {
    PutBigEndian(file, 16, side);
    PutBigEndian(file, 20, side);
    PutBigEndian(file, 29, static_cast<uint32_t>(crc32(0, &file[12], 17)));
    EXPECT_EQ(CountErrors(WriteFile("huge.png", file)), 1) << side;
  }
}

TEST(LogoLoader, SurvivesFlippedBits) {
  constexpr unsigned kSeed = 20240511;
  SCOPED_TRACE(kSeed);
  const Bytes file = testing::ReadFile(
      WritePng("good.png", 24, 16, {PNG_COLOR_TYPE_RGB, 8, true}, Noise(24 * 16 * 3)));
  std::mt19937 random(kSeed);
  const test_support::LogCapture log;
  int refused = 0;
  for (int round = 0; round < 400; ++round) {
    Bytes damaged = file;
    const int flips = 1 + static_cast<int>(random() % 4);
    for (int i = 0; i < flips; ++i) {
      damaged[random() % damaged.size()] ^= static_cast<uint8_t>(1U << (random() % 8));
    }
    Logo logo;
    if (LoadLogo(WriteFile("damaged.png", damaged).c_str(), &logo) != 0) {
      ++refused;
    } else if (logo.colorType == kPngRgb) {
      ASSERT_NE(logo.pixels, nullptr);
    }
  }
  // Checksums cover all but a few bytes.
  EXPECT_GT(refused, 350);
}

}  // namespace
}  // namespace codec
