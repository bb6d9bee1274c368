// SPDX-License-Identifier: MIT
#include "codec/utils/logo_image.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "tests/support/log_capture.h"

namespace codec {
namespace {

using Bytes = std::vector<uint8_t>;
constexpr char kTag[] = "codec::MediaUtils";

TEST(OverlayLogo, CrossesTheBytesAndSubtractsTheBlackLevel) {
  Bytes picture = {100, 100, 100, 9, 100, 100, 100, 9};
  const Bytes logo = {10, 20, 40};
  EXPECT_EQ(OverlayLogo(picture.data(), 2, 1, logo.data(), 1, 1, 1, 0), 0);
  EXPECT_EQ(picture, (Bytes{100, 100, 100, 9, 130, 110, 100, 9}));
}

TEST(OverlayLogo, ClampsAndLeavesBlackLevelPixelsAlone) {
  Bytes picture = {1, 2, 3, 4, 250, 128, 5, 6, 77, 78, 79, 80};
  const Bytes logo = {60, 60, 60, 0, 60, 255, 60, 60, 60};
  EXPECT_EQ(OverlayLogo(picture.data(), 3, 1, logo.data(), 3, 1, 0, 0), 0);
  EXPECT_EQ(picture, (Bytes{1, 2, 3, 4, 255, 128, 0, 6, 77, 78, 79, 80}));
}

TEST(OverlayLogo, WritesRowsAtTheGivenPlaceOnly) {
  Bytes picture(4 * 4 * 3, 0);
  const Bytes logo = {0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3};
  EXPECT_EQ(OverlayLogo(picture.data(), 4, 3, logo.data(), 2, 2, 2, 1), 0);
  Bytes expected(4 * 4 * 3, 0);
  for (int i = 0; i < 3; ++i) {
    expected[static_cast<size_t>(4 * (4 + 3) + i)] = 1;
    expected[static_cast<size_t>(4 * (8 + 2) + i)] = 2;
    expected[static_cast<size_t>(4 * (8 + 3) + i)] = 3;
  }
  EXPECT_EQ(picture, expected);
}

TEST(OverlayLogo, RefusesALogoLargerThanThePicture) {
  Bytes picture(16, 5);
  const Bytes logo(27, 9);
  const test_support::LogCapture log;
  EXPECT_EQ(OverlayLogo(picture.data(), 2, 2, logo.data(), 3, 1, 0, 0), -1);
  EXPECT_TRUE(log.Has(kLogError, kTag, "Invalid size: 2x2, 3x1"));
  EXPECT_EQ(picture, Bytes(16, 5));
}

TEST(OverlayLogo, RefusesALogoThatLeavesThePicture) {
  Bytes picture(16, 5);
  const Bytes logo(3, 9);
  const test_support::LogCapture log;
  EXPECT_EQ(OverlayLogo(picture.data(), 2, 2, logo.data(), 1, 1, 2, 0), -1);
  EXPECT_EQ(OverlayLogo(picture.data(), 2, 2, logo.data(), 1, 1, 0, 2147483647), -1);
  EXPECT_EQ(OverlayLogo(picture.data(), 2, 2, logo.data(), 1, 1, -1, 0), -1);
  EXPECT_TRUE(log.Has(kLogError, kTag, "Invalid size: 2x2, 1x1, 2 0"));
  EXPECT_TRUE(log.Has(kLogError, kTag, "Invalid size: 2x2, 1x1, 0 2147483647"));
  EXPECT_TRUE(log.Has(kLogError, kTag, "Invalid size: 2x2, 1x1, -1 0"));
  EXPECT_EQ(picture, Bytes(16, 5));
}

TEST(ScaleBGR, KeepsAFlatColourAndFillsEveryByte) {
  Bytes source;
  for (int i = 0; i < 400 * 200; ++i) source.insert(source.end(), {30, 90, 160});
  Bytes scaled(220 * 110 * 3 + 8, 1);
  const test_support::LogCapture log;
  EXPECT_EQ(ScaleBGR(source.data(), 400, 200, scaled.data(), 220, 110), 0);
  for (size_t i = 0; i < 220 * 110 * 3; ++i) {
    ASSERT_NEAR(scaled[i], source[i % 3], 3) << i;
  }
  for (size_t i = 220 * 110 * 3; i < scaled.size(); ++i) EXPECT_EQ(scaled[i], 1);
  EXPECT_EQ(log.Texts(kTag), (std::vector<std::string>{"ScaleBGR begin", "(400,200)-->(220,110)",
                                                       "ScaleBGR begin end"}));
}

TEST(ScaleBGR, TakesOddAndEmptySizes) {
  const Bytes source(5 * 5 * 3, 50);
  Bytes scaled(3 * 7 * 3, 1);
  EXPECT_EQ(ScaleBGR(source.data(), 5, 5, scaled.data(), 3, 7), 0);
  for (const uint8_t byte : scaled) EXPECT_NEAR(byte, 50, 3);
  EXPECT_EQ(ScaleBGR(source.data(), 5, 5, nullptr, 0, 0), 0);
}

// Where the pixel at (x, y) of a turned picture comes from.
size_t SourceOf(int x, int y, int width, int height, int rotation) {
  switch (rotation) {
    case 90:
      return static_cast<size_t>((height - 1 - x) * width + y);
    case 180:
      return static_cast<size_t>((height - 1 - y) * width + width - 1 - x);
    case 270:
      return static_cast<size_t>(x * width + width - 1 - y);
    default:
      return static_cast<size_t>(y * width + x);
  }
}

TEST(TurnBGR, MovesEveryPixelClockwise) {
  constexpr int kWidth = 7;
  constexpr int kHeight = 4;
  Bytes source;
  for (int i = 0; i < kWidth * kHeight * 3; ++i) source.push_back(static_cast<uint8_t>(i + 1));
  for (const int rotation : {0, 90, 180, 270}) {
    const bool lies = rotation % 180 != 0;
    const int width = lies ? kHeight : kWidth;
    const int height = lies ? kWidth : kHeight;
    Bytes turned(source.size());
    EXPECT_EQ(TurnBGR(source.data(), kWidth, kHeight, turned.data(), width, height, rotation), 0);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const size_t from = SourceOf(x, y, kWidth, kHeight, rotation);
        for (size_t i = 0; i < 3; ++i) {
          ASSERT_EQ(turned[static_cast<size_t>(y * width + x) * 3 + i], source[from * 3 + i])
              << rotation << " at " << x << "," << y;
        }
      }
    }
  }
}

TEST(TurnBGR, MakesABlackPictureOfAnyOtherTurn) {
  const Bytes source(6 * 3, 200);
  Bytes turned(6 * 3, 1);
  EXPECT_EQ(TurnBGR(source.data(), 3, 2, turned.data(), 3, 2, 45), 0);
  EXPECT_EQ(turned, Bytes(6 * 3, 0));
}

}  // namespace
}  // namespace codec
