// SPDX-License-Identifier: MIT
#include "codec/filter/water_mark_filter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <set>
#include <thread>

#include "codec/filter/listener_registry.h"
#include "codec/utils/logo_image.h"
#include "tests/codec/filter/filter_fixture.h"
#include "tests/codec/filter/png_file.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

using testing::FormatOf;
using testing::GuardedBytes;
using testing::Size;
using testing::WritePng;
using Bytes = std::vector<uint8_t>;

constexpr char kTag[] = "codec::WaterMarkFilter";

// A gray logo with dark corners, whose black level is 0 however it is turned. The dark part of the
// top left corner is larger than the others.
std::string GrayLogo(int width, int height) {
  Bytes rgb;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const bool small =
          (x < width / 8 || x >= width - width / 8) && (y < height / 8 || y >= height - height / 8);
      const bool large = x < width / 4 && y < height / 4;
      rgb.insert(rgb.end(), 3, static_cast<uint8_t>(small || large ? 0 : 100));
    }
  }
  return WritePng("gray.png", width, height, {PNG_COLOR_TYPE_RGB, 8, false}, rgb);
}

MediaFormat MarkFormat(Size size, const std::string& logo) {
  MediaFormat format = FormatOf(size);
  format.SetString("color-format", "bgra");
  format.SetString("logo-path", logo.c_str());
  format.SetInt32("water-mark-color-type", 3);
  format.SetInt32("water-mark-pos", 1);
  return format;
}

struct Box {
  int left = 1 << 30;
  int top = 1 << 30;
  int right = -1;
  int bottom = -1;
  friend bool operator==(const Box& a, const Box& b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
  }
};
void PrintTo(const Box& box, std::ostream* out) {
  *out << box.left << "," << box.top << " to " << box.right << "," << box.bottom;
}

// Stamps a black picture and tells the box of the pixels that changed, inclusive.
Box StampedBox(WaterMarkFilter& filter, Bytes* picture = nullptr) {
  Bytes own(static_cast<size_t>(filter.width * filter.height * 4));
  Bytes& bytes = picture == nullptr ? own : *picture;
  bytes.assign(own.size(), 0);
  MediaBufferPool::Instance()->Reset();
  EXPECT_EQ(filter.Process(bytes.data()), nullptr);
  Box box;
  for (int i = 0; i < filter.width * filter.height; ++i) {
    if (bytes[static_cast<size_t>(4 * i)] < 50) continue;
    const int x = i % filter.width;
    const int y = i / filter.width;
    box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x),
           std::max(box.bottom, y)};
  }
  return box;
}

// On a picture of 432 x 216 the shorter side of a logo becomes 216 * 11 / 108 = 22.
constexpr Size kFrame = {432, 216};

TEST(WaterMarkFilter, ScalesTheLogoToItsShareOfThePicture) {
  const test_support::LogCapture log;
  MediaFormat format = MarkFormat({1920, 1080}, GrayLogo(400, 200));
  WaterMarkFilter filter;
  ASSERT_EQ(filter.Configure(format), 0);
  const std::vector<std::string> expected = {
      "water_mark_pos:1",         "water_mark_gap:0",
      "water_mark_rotation:0",    "logo size:400x200, logo color:2, logo bit depth:8",
      "logo scale fator s=0.550", "scale logo (400,200)->(220, 110)",
      "_RotateLogo begin",        "_RotateLogo end"};
  EXPECT_EQ(log.Texts(kTag), expected);
}

TEST(WaterMarkFilter, StampsEveryCornerAtTheGap) {
  const std::string logo = GrayLogo(80, 40);  // becomes 44 x 22
  const std::array<Box, 4> boxes = {
      {{7, 7, 50, 28}, {381, 7, 424, 28}, {381, 187, 424, 208}, {7, 187, 50, 208}}};
  for (int position = 1; position <= 4; ++position) {
    MediaFormat format = MarkFormat(kFrame, logo);
    format.SetInt32("water-mark-pos", position);
    format.SetInt32("water-mark-gap", 7);
    WaterMarkFilter filter;
    ASSERT_EQ(filter.Configure(format), 0);
    EXPECT_EQ(StampedBox(filter), boxes[static_cast<size_t>(position - 1)]) << position;
  }
}

TEST(WaterMarkFilter, TurnsTheLogoClockwise) {
  const std::string logo = GrayLogo(80, 40);
  // Where the pixel at 8, 3, in the large dark corner, comes to lie.
  struct Turn {
    int rotation, width, height, darkX, darkY;
  };
  for (const Turn turn : {Turn{0, 44, 22, 8, 3}, Turn{90, 22, 44, 18, 8}, Turn{180, 44, 22, 35, 18},
                          Turn{270, 22, 44, 3, 35}}) {
    MediaFormat format = MarkFormat(kFrame, logo);
    format.SetInt32("water-mark-pos", 2);
    format.SetInt32("water-mark-gap", 5);
    format.SetInt32("water-mark-rotation", turn.rotation);
    WaterMarkFilter filter;
    ASSERT_EQ(filter.Configure(format), 0);
    Bytes picture;
    const int left = kFrame.width - 5 - turn.width;
    EXPECT_EQ(StampedBox(filter, &picture), (Box{left, 5, 426, 4 + turn.height})) << turn.rotation;
    const auto at = [&](int x, int y) {
      return picture[static_cast<size_t>(4 * ((5 + y) * kFrame.width + left + x))];
    };
    EXPECT_NEAR(at(turn.darkX, turn.darkY), 0, 12) << turn.rotation;
    EXPECT_NEAR(at(turn.width - 1 - turn.darkX, turn.height - 1 - turn.darkY), 100, 12);
  }
}

TEST(WaterMarkFilter, StampsTheColoursOfTheFileOnBothPixelOrders) {
  // Black in the corner for the level, then a flat blue.
  Bytes rgb;
  for (int i = 0; i < 44 * 44; ++i) {
    const bool corner = i / 44 < 11 && i % 44 < 11;
    rgb.insert(rgb.end(), {0, 0, static_cast<uint8_t>(corner ? 0 : 200)});
  }
  const std::string logo = WritePng("blue.png", 44, 44, {PNG_COLOR_TYPE_RGB, 8, false}, rgb);
  for (const int type : {1, 3}) {
    MediaFormat format = MarkFormat(kFrame, logo);
    format.SetInt32("water-mark-color-type", type);
    WaterMarkFilter filter;
    ASSERT_EQ(filter.Configure(format), 0);
    Bytes picture(static_cast<size_t>(kFrame.width * kFrame.height * 4));
    filter.Process(picture.data());
    const size_t pixel = static_cast<size_t>(4 * (16 * kFrame.width + 16));
    EXPECT_NEAR(picture[pixel + (type == 1 ? 2 : 0)], 200, 12) << type;
    EXPECT_LT(picture[pixel + (type == 1 ? 0 : 2)], 12) << type;
    EXPECT_EQ(picture[pixel + 3], 0) << type;
  }
}

TEST(WaterMarkFilter, LeavesTheLastPixelOfABgraLogoUnexchanged) {
  Bytes rgb;
  for (int i = 0; i < 4; ++i) rgb.insert(rgb.end(), {200, 0, 0});
  const std::string logo = WritePng("four.png", 2, 2, {PNG_COLOR_TYPE_RGB, 8, false}, rgb);
  MediaFormat format = MarkFormat({108, 108}, logo);
  WaterMarkFilter filter;
  ASSERT_EQ(filter.Configure(format), 0);
  Bytes picture(108 * 108 * 4, 128);
  filter.Process(picture.data());

  // On 108 x 108 the factor is 11 / 2: 11 pixels a side, made even.
  const Bytes exchanged = {200, 0, 0, 200, 0, 0, 200, 0, 0, 0, 0, 200};
  Bytes scaled(10 * 10 * 3);
  ASSERT_EQ(ScaleBGR(exchanged.data(), 2, 2, scaled.data(), 10, 10), 0);
  Bytes expected(108 * 108 * 4, 128);
  ASSERT_EQ(OverlayLogo(expected.data(), 108, 108, scaled.data(), 10, 10, 0, 0), 0);
  EXPECT_EQ(picture, expected);
}

TEST(WaterMarkFilter, StampsNothingInTypesTwoAndFour) {
  const std::string logo = GrayLogo(80, 40);
  for (const int type : {2, 4}) {
    MediaFormat format = MarkFormat(kFrame, logo);
    format.SetInt32("water-mark-color-type", type);
    WaterMarkFilter filter;
    ASSERT_EQ(filter.Configure(format), 0);
    EXPECT_EQ(StampedBox(filter), Box());
  }
}

TEST(WaterMarkFilter, ReportsALogoThatDoesNotFitForEveryPicture) {
  const std::string logo = GrayLogo(80, 40);
  for (const int gap : {400, -5, 2147483647, -2147483647}) {
    for (const int position : {1, 3}) {
      MediaFormat format = MarkFormat(kFrame, logo);
      format.SetInt32("water-mark-gap", gap);
      format.SetInt32("water-mark-pos", position);
      WaterMarkFilter filter;
      ASSERT_EQ(filter.Configure(format), 0);
      const test_support::LogCapture log;
      EXPECT_EQ(StampedBox(filter), Box());
      EXPECT_EQ(StampedBox(filter), Box());
      EXPECT_EQ(
          log.CountContaining(kLogError, "codec::MediaUtils", "Invalid size: 432x216, 44x22, "), 2);
    }
  }
}

TEST(WaterMarkFilter, StaysInsidePicturesOfFewerThanFourBytesAPixel) {
  for (const int position : {1, 2, 3, 4}) {
    MediaFormat format = MarkFormat(kFrame, GrayLogo(80, 40));
    format.SetString("color-format", "yuv420p");
    format.SetInt32("water-mark-pos", position);
    WaterMarkFilter filter;
    ASSERT_EQ(filter.Configure(format), 0);
    constexpr int kBytes = kFrame.width * kFrame.height * 3 / 2;
    const GuardedBytes picture(kBytes);
    MediaBufferPool::Instance()->Reset();
    const test_support::LogCapture log;
    EXPECT_EQ(filter.Process(picture.Data()), nullptr);
    const bool stamped = std::any_of(picture.Data(), picture.Data() + kBytes,
                                     [](uint8_t byte) { return byte != 0; });
    // The upper corners lie in the first 22 of the 81 rows that such a picture has.
    EXPECT_EQ(stamped, position < 3) << position;
    EXPECT_EQ(log.CountContaining(kLogError, kTag, "lies behind a picture of 139968 bytes"),
              position < 3 ? 0 : 1);
  }
}

TEST(WaterMarkFilter, CopiesTheStampedPictureIntoThePoolsBuffer) {
  const testing::PoolOf pool(432 * 216 * 4);
  MediaFormat format = MarkFormat(kFrame, GrayLogo(80, 40));
  WaterMarkFilter filter;
  ASSERT_EQ(filter.Configure(format), 0);
  Bytes picture(432 * 216 * 4);
  MediaBuffer* const buffer = filter.Process(picture.data());
  ASSERT_NE(buffer, nullptr);
  EXPECT_EQ(Bytes(buffer->Data(), buffer->Data() + picture.size()), picture);
  EXPECT_NE(picture, Bytes(picture.size()));
  MediaBufferPool::Instance()->Give(buffer);
}

TEST(WaterMarkFilter, HandsTheSamePictureOn) {
  MediaFormat format = MarkFormat(kFrame, GrayLogo(80, 40));
  WaterMarkFilter filter;
  ASSERT_EQ(filter.Configure(format), 0);
  auto* const end = new testing::Recorder;
  AppendFilter(&filter, end);
  Bytes picture(432 * 216 * 4);
  filter.Process(picture.data());
  EXPECT_EQ(end->seen, picture.data());
}

struct Refusal {
  const char* key;
  const char* value;  // null: the key is absent
  int level;
  const char* text;
};

TEST(WaterMarkFilter, RefusesBadSettingsWithOneLine) {
  const std::string logo = GrayLogo(80, 40);
  for (const Refusal& refusal :
       {Refusal{"color-format", nullptr, kLogError, "not set color format"},
        Refusal{"logo-path", nullptr, kLogError, "not set logo path"},
        Refusal{"water-mark-color-type", nullptr, kLogError, "not set water mark color type"},
        Refusal{"water-mark-color-type", "0", kLogDebug, "Invalid water mark color type"},
        Refusal{"water-mark-color-type", "5", kLogDebug, "Invalid water mark color type"},
        Refusal{"water-mark-pos", "0", kLogError, "error water mark position:0"},
        Refusal{"water-mark-pos", "5", kLogError, "error water mark position:5"},
        Refusal{"water-mark-rotation", "45", kLogError, "error water mark rotation:45"},
        Refusal{"logo-path", "/no/logo.png", kLogError, "load logo error:/no/logo.png"}}) {
    const MediaFormat whole = MarkFormat(kFrame, logo);
    MediaFormat format;
    for (const auto& [key, value] : whole.Entries()) {
      if (key != refusal.key) format.SetString(key.c_str(), value.c_str());
    }
    if (refusal.value != nullptr) format.SetString(refusal.key, refusal.value);
    const test_support::LogCapture log;
    EXPECT_EQ(WaterMarkFilter().Configure(format), -1);
    EXPECT_EQ(log.Count(refusal.level, kTag, refusal.text), 1) << refusal.text;
    EXPECT_EQ(log.Texts(kTag).back(), refusal.text);
  }
}

TEST(WaterMarkFilter, NamesAnUnsupportedColorType) {
  const test_support::LogCapture log;
  MediaFormat format = MarkFormat(
      kFrame, WritePng("alpha.png", 4, 4, {PNG_COLOR_TYPE_RGB_ALPHA, 8, false}, Bytes(64)));
  EXPECT_EQ(WaterMarkFilter().Configure(format), -1);
  EXPECT_TRUE(log.Has(kLogError, kTag, "not supported logo color type: 6"));
}

TEST(WaterMarkFilter, RefusesALogoThatWouldGrowWithoutBound) {
  const test_support::LogCapture log;
  MediaFormat format = MarkFormat(
      {3840, 2160}, WritePng("thin.png", 16000, 1, {PNG_COLOR_TYPE_RGB, 8, false}, Bytes(48000)));
  EXPECT_EQ(WaterMarkFilter().Configure(format), -1);
  EXPECT_EQ(log.CountContaining(kLogError, kTag, "no room for a logo of"), 1);
}

TEST(WaterMarkFilter, TakesALogoThatScalesDownToNothing) {
  MediaFormat format = MarkFormat({4, 4}, GrayLogo(80, 40));
  WaterMarkFilter filter;
  ASSERT_EQ(filter.Configure(format), 0);
  EXPECT_EQ(StampedBox(filter), Box());
}

constexpr int32_t Event(int rotation, int position) { return rotation * 65536 + position; }

TEST(WaterMarkFilter, MovesAndTurnsOnEvents) {
  MediaFormat format = MarkFormat(kFrame, GrayLogo(80, 40));
  WaterMarkFilter filter;
  ASSERT_EQ(filter.Configure(format), 0);
  const test_support::LogCapture log;
  filter.OnEvent(4097, Event(90, 3));
  EXPECT_EQ(StampedBox(filter), (Box{410, 172, 431, 215}));
  EXPECT_EQ(log.Texts(kTag),
            (std::vector<std::string>{"OnEvent what:4097, arg1:5898243", "rotation:90, position:3",
                                      "_RotateLogo begin", "_RotateLogo end"}));
  // Turns do not add up; a position of 0 or 5 is ignored.
  filter.OnEvent(4097, Event(90, 0));
  EXPECT_EQ(StampedBox(filter), (Box{410, 172, 431, 215}));
  filter.OnEvent(4097, Event(0, 5));
  EXPECT_EQ(StampedBox(filter), (Box{388, 194, 431, 215}));
  // The rotation half of a plain position is 0.
  filter.OnEvent(4097, 1);
  EXPECT_EQ(StampedBox(filter), (Box{0, 0, 43, 21}));
}

TEST(WaterMarkFilter, IgnoresOtherEvents) {
  MediaFormat format = MarkFormat(kFrame, GrayLogo(80, 40));
  WaterMarkFilter filter;
  ASSERT_EQ(filter.Configure(format), 0);
  const test_support::LogCapture log;
  filter.OnEvent(4096, Event(90, 3));
  EXPECT_EQ(log.Texts(kTag).size(), 1U);
  EXPECT_EQ(StampedBox(filter), (Box{0, 0, 43, 21}));
}

TEST(WaterMarkFilter, BlanksTheLogoOnAnyOtherTurnAndKeepsIt) {
  MediaFormat format = MarkFormat(kFrame, GrayLogo(80, 40));
  WaterMarkFilter filter;
  ASSERT_EQ(filter.Configure(format), 0);
  filter.OnEvent(4097, Event(45, 1));
  EXPECT_EQ(StampedBox(filter), Box());
  filter.OnEvent(4097, Event(90, 1));
  EXPECT_EQ(StampedBox(filter), Box());
  filter.OnEvent(4097, -1);
  EXPECT_EQ(StampedBox(filter), Box());
}

TEST(WaterMarkFilter, TakesEventsBeforeItIsConfigured) {
  WaterMarkFilter filter;
  filter.OnEvent(4097, Event(90, 3));
  EXPECT_EQ(filter.next, nullptr);
}

TEST(WaterMarkFilter, StampsWholeLogosWhileAnotherThreadTurnsThem) {
  MediaFormat format = MarkFormat(kFrame, GrayLogo(80, 40));
  WaterMarkFilter filter;
  ASSERT_EQ(filter.Configure(format), 0);
  const test_support::LogCapture log;
  std::atomic<bool> running{true};
  std::thread turner([&] {
    for (int i = 0; running; ++i) filter.OnEvent(4097, Event(i % 2 * 90, 1 + i % 4));
  });
  std::set<std::pair<int, int>> sizes;
  for (int i = 0; i < 100; ++i) {
    const Box box = StampedBox(filter);
    sizes.insert({box.right - box.left + 1, box.bottom - box.top + 1});
  }
  running = false;
  turner.join();
  for (const auto& size : sizes) {
    EXPECT_TRUE(size == std::make_pair(44, 22) || size == std::make_pair(22, 44))
        << size.first << "x" << size.second;
  }
}

TEST(ListenerRegistry, HoldsOneListener) {
  ListenerRegistry& registry = ListenerRegistry::Instance();
  registry.SetListener(nullptr);
  WaterMarkFilter kept;
  {
    WaterMarkFilter gone;
    registry.SetListener(&gone);
    EXPECT_EQ(registry.GetListener(), &gone);
  }
  EXPECT_EQ(registry.GetListener(), nullptr);
  registry.SetListener(&kept);
  { const WaterMarkFilter other; }
  EXPECT_EQ(registry.GetListener(), &kept);
  registry.SetListener(nullptr);
}

}  // namespace
}  // namespace codec
