// SPDX-License-Identifier: MIT
#include "codec/filter/filter_factory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "codec/filter/color_filter.h"
#include "codec/filter/listener_registry.h"
#include "codec/filter/rotate_filter.h"
#include "codec/filter/scale_filter.h"
#include "codec/filter/water_mark_filter.h"
#include "tests/codec/filter/filter_fixture.h"
#include "tests/codec/filter/png_file.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

using testing::FormatOf;
using Chain = std::unique_ptr<MediaFilter>;
using Factory = MediaFilter* (*)(MediaFormat&);

constexpr char kTag[] = "codec::MediaFilter";

MediaFormat WholeFormat() {
  static const std::string logo = testing::WritePng(
      "factory.png", 8, 8, {PNG_COLOR_TYPE_RGB, 8, false}, std::vector<uint8_t>(8 * 8 * 3, 90));
  MediaFormat format = FormatOf({64, 32});
  format.SetString("input-color-format", "bgra");
  format.SetString("output-color-format", "nv12");
  format.SetString("color-format", "bgra");
  format.SetInt32("target-width", 32);
  format.SetInt32("target-height", 16);
  format.SetString("logo-path", logo.c_str());
  format.SetInt32("water-mark-pos", 1);
  return format;
}

MediaFormat Without(const MediaFormat& format, const std::string& gone) {
  MediaFormat copy;
  for (const auto& [key, value] : format.Entries()) {
    if (key != gone) copy.SetString(key.c_str(), value.c_str());
  }
  return copy;
}

// The classes of a chain and the sizes that come into each.
std::string Describe(const MediaFilter* filter) {
  std::string text;
  for (; filter != nullptr; filter = filter->next) {
    const char* name = dynamic_cast<const ColorFilter*>(filter) != nullptr       ? "color"
                       : dynamic_cast<const ScaleFilter*>(filter) != nullptr     ? "scale"
                       : dynamic_cast<const RotateFilter*>(filter) != nullptr    ? "rotate"
                       : dynamic_cast<const WaterMarkFilter*>(filter) != nullptr ? "mark"
                                                                                 : "?";
    text += std::string(name) + " " + std::to_string(filter->width) + "x" +
            std::to_string(filter->height) + " ";
  }
  return text;
}

struct Row {
  const char* name;
  Factory make;
  const char* done;
  const char* chain;
};
constexpr Row kRows[] = {
    {"CreateColorFilter", &CreateColorFilter, "CreateColorFilter done", "color 64x32 "},
    {"CreateScaleFilter", &CreateScaleFilter, "CreateScaleFilter begin done", "scale 64x32 "},
    {"CreateRotateFilter", &CreateRotateFilter, "CreateRotateFilter done", "rotate 64x32 "},
    {"CreateWaterMarkFilter", &CreateWaterMarkFilter, "CreateWaterMarkFilter done", "mark 64x32 "},
    {"CreateColorScaleFilter", &CreateColorScaleFilter, "CreateColorScaleFilter done",
     "scale 64x32 color 32x16 "},
    {"CreateColorScaleRotateFilter", &CreateColorScaleRotateFilter,
     "CreateColorScaleRotateFilter done", "color 64x32 scale 64x32 rotate 32x16 color 32x16 "},
    {"CreateWaterMarkColorFilter", &CreateWaterMarkColorFilter, "CreateWaterMarkColorFilter done",
     "mark 64x32 color 64x32 "},
    {"CreateWaterMarkColorScaleRotateFilter", &CreateWaterMarkColorScaleRotateFilter,
     "CreateWaterMarkColorScaleRotateFilter done",
     "color 64x32 scale 64x32 rotate 32x16 color 32x16 "},
};

TEST(FilterFactory, BuildsEveryChainBetweenItsTwoLines) {
  for (const Row& row : kRows) {
    const test_support::LogCapture log;
    MediaFormat format = WholeFormat();
    const auto before = format.Entries();
    const Chain chain(row.make(format));
    EXPECT_EQ(Describe(chain.get()), row.chain);
    EXPECT_EQ(format.Entries(), before);
    const auto texts = log.Texts(kTag);
    ASSERT_FALSE(texts.empty());
    EXPECT_EQ(texts.front(), std::string(row.name) + " begin...");
    EXPECT_EQ(texts.back(), row.done);
  }
}

TEST(FilterFactory, SaysNoDoneLineOnFailure) {
  for (const Row& row : kRows) {
    const test_support::LogCapture log;
    MediaFormat format = Without(WholeFormat(), "width");
    EXPECT_EQ(Chain(row.make(format)), nullptr) << row.name;
    EXPECT_FALSE(log.Has(kLogDebug, kTag, row.done)) << row.name;
    EXPECT_TRUE(log.Has(kLogError, kTag, "Invalid size (0, 32)")) << row.name;
  }
}

struct Missing {
  Factory make;
  const char* key;
  const char* text;
};
constexpr char kNoInput[] = "not set input color format";
constexpr char kNoOutput[] = "not set output color format";
constexpr char kNoFormat[] = "not set color format";

TEST(FilterFactory, NamesAMissingKey) {
  for (const Missing& missing :
       {Missing{&CreateColorFilter, "input-color-format", kNoInput},
        Missing{&CreateColorFilter, "output-color-format", kNoOutput},
        Missing{&CreateScaleFilter, "color-format", kNoFormat},
        Missing{&CreateRotateFilter, "color-format", kNoFormat},
        Missing{&CreateWaterMarkFilter, "color-format", kNoFormat},
        Missing{&CreateColorScaleFilter, "input-color-format", kNoInput},
        Missing{&CreateColorScaleFilter, "output-color-format", kNoOutput},
        Missing{&CreateColorScaleRotateFilter, "input-color-format", kNoInput},
        Missing{&CreateColorScaleRotateFilter, "output-color-format", kNoOutput},
        Missing{&CreateWaterMarkColorFilter, "input-color-format", kNoInput},
        Missing{&CreateWaterMarkColorFilter, "output-color-format", kNoOutput},
        Missing{&CreateWaterMarkColorScaleRotateFilter, "input-color-format", kNoInput}}) {
    const test_support::LogCapture log;
    MediaFormat format = Without(WholeFormat(), missing.key);
    EXPECT_EQ(Chain(missing.make(format)), nullptr);
    EXPECT_EQ(log.Count(kLogError, kTag, missing.text), 1) << missing.key;
  }
}

struct Change {
  Factory make;
  const char* key;
  const char* value;
  const char* text;
};

TEST(FilterFactory, NamesTheStepThatFailed) {
  for (const Change& change :
       {Change{&CreateColorFilter, "output-color-format", "nothing", "ColorFilter Configure error"},
        Change{&CreateScaleFilter, "target-width", "-1", "ScaleFilter Configure error"},
        Change{&CreateScaleFilter, "color-format", "nv12", " not supported scale color type"},
        Change{&CreateRotateFilter, "color-format", "rgba", " not supported rotate color type"},
        Change{&CreateRotateFilter, "rotation", "45", "RotateFilter Configure error"},
        Change{&CreateWaterMarkFilter, "water-mark-pos", "9", "WaterMarkFilter Configure error"},
        Change{&CreateColorScaleFilter, "input-color-format", "nv12", "create scale filter error."},
        Change{&CreateColorScaleFilter, "target-width", "0", "create last color filter error."},
        Change{&CreateColorScaleRotateFilter, "width", "0",
               "create convert yuv420p color filter error."},
        Change{&CreateColorScaleRotateFilter, "target-width", "-1",
               "create scale yuv420p filter error."},
        Change{&CreateColorScaleRotateFilter, "target-width", "0", "create rotate filter error"},
        Change{&CreateColorScaleRotateFilter, "rotation", "45", "create rotate filter error"},
        Change{&CreateColorScaleRotateFilter, "output-color-format", "nothing",
               "create last color filter error."}}) {
    const test_support::LogCapture log;
    MediaFormat format = WholeFormat();
    format.SetString(change.key, change.value);
    EXPECT_EQ(Chain(change.make(format)), nullptr) << change.text;
    EXPECT_EQ(log.Count(kLogError, kTag, change.text), 1) << change.text;
  }
}

struct Pair {
  const char* input;
  const char* output;
  int model;
};

TEST(FilterFactory, ChoosesTheModelByThePair) {
  for (const Pair& pair : {Pair{"yuv411p", "yuv420p", 2},    Pair{"yuv420p10le", "yuv420p", 3},
                           Pair{"bgra", "yuv420p", 4},       Pair{"bgra", "842094169", 4},
                           Pair{"bgra", "nv12", 5},          Pair{"bgra", "yuv420psp", 5},
                           Pair{"bgra", "nv21", 6},          Pair{"bgra", "17", 6},
                           Pair{"bgra", "rgba", 8},          Pair{"yuv420p", "nv12", 9},
                           Pair{"yuv420p", "nv21", 10},      Pair{"yuv420p", "bgra", 11},
                           Pair{"yuv420p", "rgba", 12},      Pair{"rgba", "yuv420p", 13},
                           Pair{"rgba", "nv12", 14},         Pair{"rgba", "nv21", 15},
                           Pair{"bgra", "bgr4_byte", 16},    Pair{"rgba", "bgr4_byte", 17},
                           Pair{"yuv420p", "bgr4_byte", 18}, Pair{"rgba", "rgb4_byte", 19},
                           Pair{"rgba", "rgb24", 20},        Pair{"rgba", "rgb8", 21},
                           Pair{"bgra", "rgb8", 22},         Pair{"nv12", "rgba", 23},
                           Pair{"rgba", "bgra", 23},         Pair{"bgra", "bgra", 1},
                           Pair{"gray", "gray", 1}}) {
    const test_support::LogCapture log;
    MediaFormat format = WholeFormat();
    format.SetString("input-color-format", pair.input);
    format.SetString("output-color-format", pair.output);
    EXPECT_NE(Chain(CreateColorFilter(format)), nullptr);
    const std::string number = std::to_string(pair.model);
    EXPECT_TRUE(log.Has(kLogDebug, kTag, "colorConvortModel:" + number)) << pair.output;
    EXPECT_TRUE(log.Has(kLogInfo, "codec::ColorFilter", "color convert model:" + number));
  }
}

TEST(FilterFactory, CountsColourTypes) {
  for (const Pair& pair : {Pair{"bgra", "", 3}, Pair{"rgba", "", 1}, Pair{"yuv420p", "", 5}}) {
    const test_support::LogCapture log;
    MediaFormat format = WholeFormat();
    format.SetString("color-format", pair.input);
    EXPECT_NE(Chain(CreateScaleFilter(format)), nullptr);
    EXPECT_TRUE(log.Has(kLogDebug, kTag, "scale_color_type:" + std::to_string(pair.model)));
  }
}

TEST(FilterFactory, TreatsAnUnknownWaterMarkFormatLikeBgra) {
  const test_support::LogCapture log;
  MediaFormat format = WholeFormat();
  format.SetString("color-format", "yuv420p");
  const Chain chain(CreateWaterMarkFilter(format));
  EXPECT_NE(chain, nullptr);
  EXPECT_TRUE(log.Has(kLogError, kTag, " not supported water mark color type"));
  EXPECT_TRUE(log.Has(kLogDebug, kTag, "water_mark_color_type:3"));
}

TEST(FilterFactory, RegistersTheWaterMarkFilterAsTheListener) {
  ListenerRegistry::Instance().SetListener(nullptr);
  MediaFormat format = WholeFormat();
  Chain chain(CreateWaterMarkFilter(format));
  EXPECT_EQ(ListenerRegistry::Instance().GetListener(), dynamic_cast<Listener*>(chain.get()));
  chain.reset();
  // A chain that fails behind its watermark leaves no dangling listener.
  format.SetString("output-color-format", "nothing");
  EXPECT_EQ(Chain(CreateWaterMarkColorFilter(format)), nullptr);
  EXPECT_EQ(ListenerRegistry::Instance().GetListener(), nullptr);
}

TEST(FilterFactory, MakesChainsThatUseThePoolTheyAreGiven) {
  const test_support::LogCapture quiet;
  MediaBufferPool::Instance()->Reset();
  MediaBufferPool own;
  own.RefillVideo(64 * 32 * 4);
  MediaFormat format = WholeFormat();
  format.SetInt32("independent", 1);
  std::vector<uint8_t> picture(64 * 32 * 4 + 64 + 64);
  for (MediaFilter* (*make)(MediaFormat&) :
       {&CreateColorFilter, &CreateScaleFilter, &CreateRotateFilter, &CreateOrientationFilter,
        &CreateWaterMarkFilter, &CreateColorScaleFilter, &CreateColorScaleRotateFilter}) {
    const Chain chain(make(format));
    ASSERT_NE(chain, nullptr);
    EXPECT_EQ(chain->Process(picture.data()), nullptr) << "the shared pool is empty";
    chain->SetPool(&own);
    const PooledBuffer buffer(chain->Process(picture.data()));
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->Home(), &own);
  }
}

TEST(FilterFactory, RegistersNoLogoOfAnIndependentWriter) {
  ListenerRegistry::Instance().SetListener(nullptr);
  MediaFormat format = WholeFormat();
  format.SetInt32("independent", 1);
  EXPECT_NE(Chain(CreateWaterMarkColorFilter(format)), nullptr);
  const Chain chain(CreateWaterMarkFilter(format));
  EXPECT_NE(chain, nullptr);
  EXPECT_EQ(ListenerRegistry::Instance().GetListener(), nullptr);
}

TEST(FilterFactory, SwapsTheLastSizeForQuarterTurnsOnly) {
  for (const int rotation : {0, 90, 180, 270}) {
    MediaFormat format = WholeFormat();
    format.SetInt32("rotation", rotation);
    const Chain chain(CreateColorScaleRotateFilter(format));
    const std::string last = rotation % 180 == 0 ? "color 32x16 " : "color 16x32 ";
    EXPECT_EQ(Describe(chain.get()), "color 64x32 scale 64x32 rotate 32x16 " + last);
  }
}

TEST(FilterFactory, ChainsCarryAPictureThrough) {
  constexpr int kBytes = 32 * 16 * 12 / 8;
  const testing::PoolOf pool(kBytes);
  MediaFormat format = WholeFormat();
  format.SetString("output-color-format", "yuv420p");
  format.SetInt32("rotation", 90);
  const Chain chain(CreateColorScaleRotateFilter(format));
  ASSERT_NE(chain, nullptr);
  std::vector<uint8_t> picture;
  // The left half is white, so that after the turn the upper half is.
  for (int i = 0; i < 64 * 32; ++i) {
    picture.insert(picture.end(), 4, static_cast<uint8_t>(i % 64 < 32 ? 255 : 0));
  }
  const std::vector<uint8_t> out = testing::Filtered(*chain, picture, kBytes);
  ASSERT_EQ(out.size(), static_cast<size_t>(kBytes));
  for (size_t i = 0; i < 16 * 32; ++i) EXPECT_NEAR(out[i], i < 16 * 16 ? 235 : 16, 1) << i;
  for (size_t i = 16 * 32; i < out.size(); ++i) EXPECT_NEAR(out[i], 128, 1) << i;
}

}  // namespace
}  // namespace codec
