// SPDX-License-Identifier: MIT
#include "codec/filter/color_filter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <tuple>

#include "codec/ffmpeg/owned.h"
#include "codec/filter/filter_factory.h"
#include "tests/codec/filter/filter_fixture.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

using testing::Filtered;
using testing::FormatOf;
using testing::GuardedBytes;
using testing::Noise;
using testing::PoolOf;
using testing::Recorder;
using testing::Shapes;
using testing::Size;
using Bytes = std::vector<uint8_t>;

constexpr char kTag[] = "codec::ColorFilter";

MediaFormat ModelFormat(Size size, int model, const char* input, const char* output) {
  MediaFormat format = FormatOf(size);
  format.SetInt32("color-convert-model", model);
  format.SetString("input-color-format", input);
  format.SetString("output-color-format", output);
  return format;
}

struct ModelRow {
  int model;
  const char* input;
  const char* output;
};

constexpr std::array<ModelRow, 24> kRows = {{
    {1, "bgra", "bgra"},       {2, "yuv411p", "yuv420p"}, {3, "yuv420p10le", "yuv420p"},
    {4, "bgra", "yuv420p"},    {5, "bgra", "nv12"},       {6, "bgra", "nv21"},
    {7, "bgra", "rgba"},       {8, "bgra", "rgba"},       {9, "yuv420p", "nv12"},
    {10, "yuv420p", "nv21"},   {11, "yuv420p", "bgra"},   {12, "yuv420p", "rgba"},
    {13, "rgba", "yuv420p"},   {14, "rgba", "nv12"},      {15, "rgba", "nv21"},
    {16, "bgra", "bgr4_byte"}, {17, "rgba", "bgr4_byte"}, {18, "yuv420p", "bgr4_byte"},
    {19, "rgba", "rgb4_byte"}, {20, "rgba", "rgb24"},     {21, "rgba", "rgb8"},
    {22, "bgra", "rgb8"},      {23, "nv12", "rgba"},      {23, "rgb24", "yuv420p"},
}};

Bytes Convert(const ModelRow& row, Size size, const Bytes& picture) {
  const int bytes = FrameSize(size.width, size.height, row.output);
  const PoolOf pool(bytes);
  ColorFilter filter;
  MediaFormat format = ModelFormat(size, row.model, row.input, row.output);
  EXPECT_EQ(filter.Configure(format), 0);
  return Filtered(filter, picture, bytes);
}

// The same conversion by swscale between buffers with padded rows, accurately rounded.
Bytes BySwscale(const ModelRow& row, Size size, const Bytes& picture, int flags) {
  const AVPixelFormat from = av_get_pix_fmt(row.input);
  const AVPixelFormat to = av_get_pix_fmt(row.output);
  const ffmpeg::UniqueFrame in(av_frame_alloc());
  const ffmpeg::UniqueFrame out(av_frame_alloc());
  for (const auto& [frame, format] : {std::pair(in.get(), from), std::pair(out.get(), to)}) {
    frame->format = format;
    frame->width = size.width;
    frame->height = size.height;
    EXPECT_EQ(av_frame_get_buffer(frame, 64), 0);
  }
  std::array<uint8_t*, 4> planes{};
  std::array<int, 4> strides{};
  av_image_fill_arrays(planes.data(), strides.data(), picture.data(), from, size.width, size.height,
                       1);
  std::array<const uint8_t*, 4> sources{};
  std::copy(planes.begin(), planes.end(), sources.begin());
  av_image_copy(in->data, in->linesize, sources.data(), strides.data(), from, size.width,
                size.height);
  const ffmpeg::UniqueScaler scaler(sws_getContext(size.width, size.height, from, size.width,
                                                   size.height, to, flags, nullptr, nullptr,
                                                   nullptr));
  sws_scale(scaler.get(), in->data, in->linesize, 0, size.height, out->data, out->linesize);
  const int bytes = av_image_get_buffer_size(to, size.width, size.height, 1);
  Bytes packed(static_cast<size_t>(std::max(bytes, 0)));
  std::copy(out->data, out->data + 4, sources.begin());
  av_image_copy_to_buffer(packed.data(), static_cast<int>(packed.size()), sources.data(),
                          out->linesize, to, size.width, size.height, 1);
  return packed;
}

// Slow gradients in every channel: two ways of filtering chroma agree on them.
Bytes SmoothRgb32(Size size) {
  const int spanX = std::max(size.width, 160);
  const int spanY = std::max(size.height, 160);
  Bytes bytes;
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      bytes.push_back(static_cast<uint8_t>(40 + 150 * x / spanX));
      bytes.push_back(static_cast<uint8_t>(200 - 150 * y / spanY));
      bytes.push_back(static_cast<uint8_t>(60 + 60 * x / spanX + 60 * y / spanY));
      bytes.push_back(255);
    }
  }
  return bytes;
}

Bytes SmoothPicture(const char* name, Size size) {
  const std::string format = name;
  const Bytes rgb = SmoothRgb32(size);
  if (format == "bgra" || format == "rgba") return rgb;
  return BySwscale({0, "rgba", name}, size, rgb, SWS_BILINEAR | SWS_ACCURATE_RND);
}

void ExpectClose(const Bytes& actual, const Bytes& expected, const std::string& what) {
  ASSERT_EQ(actual.size(), expected.size()) << what;
  double sum = 0;
  int worst = 0;
  for (size_t i = 0; i < actual.size(); ++i) {
    const int error = std::abs(actual[i] - expected[i]);
    sum += error;
    worst = std::max(worst, error);
  }
  EXPECT_LE(sum / static_cast<double>(actual.size()), 1.5) << what;
  EXPECT_LE(worst, 8) << what;
}

TEST(ColorModels, AgreeWithSwscaleOnSmoothPictures) {
  const test_support::LogCapture quiet;
  for (const ModelRow& row : kRows) {
    if (row.model == 7 || row.model == 8) continue;  // compared exactly below
    for (const Size size : {Size{16, 16}, Size{1280, 720}}) {
      const Bytes picture = SmoothPicture(row.input, size);
      // The size rule counts formats that it does not know at four bytes a pixel.
      Bytes padded(static_cast<size_t>(size.width) * static_cast<size_t>(size.height) * 4);
      std::copy(picture.begin(), picture.end(), padded.begin());
      const int flags = row.model >= 16 ? 0 : SWS_BILINEAR | SWS_ACCURATE_RND;
      ExpectClose(Convert(row, size, padded), BySwscale(row, size, picture, flags),
                  std::string(row.input) + " to " + row.output);
    }
  }
}

// BT.601 with luma from 16 to 235, straight from the definition.
struct Yuv {
  double y, u, v;
};
Yuv YuvOf(double r, double g, double b) {
  const double y = 0.299 * r + 0.587 * g + 0.114 * b;
  return {16 + y * 219 / 255, 128 + (b - y) * 0.5 / 0.886 * 224 / 255,
          128 + (r - y) * 0.5 / 0.701 * 224 / 255};
}

TEST(ColorModels, PutRedGreenAndBlueIntoTheRightPlaces) {
  const test_support::LogCapture quiet;
  constexpr Size kSize = {4, 4};
  const Yuv yuv = YuvOf(200, 80, 30);
  for (const ModelRow& row : kRows) {
    const std::string input = row.input;
    if (row.model < 4 || row.model > 15 || (input != "bgra" && input != "rgba")) continue;
    if (row.model == 7 || row.model == 8) continue;
    const Bytes pixel = input == "rgba" ? Bytes{200, 80, 30, 255} : Bytes{30, 80, 200, 255};
    Bytes picture;
    for (int i = 0; i < 16; ++i) picture.insert(picture.end(), pixel.begin(), pixel.end());
    const Bytes out = Convert(row, kSize, picture);
    const std::string output = row.output;
    for (size_t i = 0; i < 16; ++i) EXPECT_NEAR(out[i], yuv.y, 1.5) << row.model;
    const bool planar = output == "yuv420p";
    const size_t u = output == "nv21" ? 17 : 16;
    const size_t v = planar ? 20 : output == "nv21" ? 16 : 17;
    EXPECT_NEAR(out[u], yuv.u, 2) << row.model;
    EXPECT_NEAR(out[v], yuv.v, 2) << row.model;
  }
}

TEST(ColorModels, CopyAndExchangeExactly) {
  const test_support::LogCapture quiet;
  for (const Size size : Shapes()) {
    const Bytes picture = Noise(int64_t{4} * size.width * size.height);
    EXPECT_EQ(Convert({1, "bgra", "bgra"}, size, picture), picture);
    Bytes exchanged = picture;
    for (size_t i = 0; i < picture.size(); i += 4) std::swap(exchanged[i], exchanged[i + 2]);
    EXPECT_EQ(Convert({7, "bgra", "rgba"}, size, picture), exchanged);
    EXPECT_EQ(Convert({8, "bgra", "rgba"}, size, picture), exchanged);
    Bytes three;
    for (size_t i = 0; i < picture.size(); ++i) {
      if (i % 4 != 3) three.push_back(picture[i]);
    }
    EXPECT_EQ(Convert({20, "rgba", "rgb24"}, size, picture), three);
  }
}

TEST(ColorModels, RepackPlanesExactly) {
  const test_support::LogCapture quiet;
  for (const Size size : {Size{2, 2}, Size{16, 16}, Size{1280, 720}}) {
    const size_t luma = static_cast<size_t>(size.width) * static_cast<size_t>(size.height);
    const Bytes picture = Noise(static_cast<int64_t>(luma * 3 / 2));
    Bytes twelve(picture.begin(), picture.begin() + static_cast<std::ptrdiff_t>(luma));
    Bytes twentyOne = twelve;
    for (size_t i = 0; i < luma / 4; ++i) {
      const uint8_t u = picture[luma + i];
      const uint8_t v = picture[luma + luma / 4 + i];
      twelve.insert(twelve.end(), {u, v});
      twentyOne.insert(twentyOne.end(), {v, u});
    }
    EXPECT_EQ(Convert({9, "yuv420p", "nv12"}, size, picture), twelve);
    EXPECT_EQ(Convert({10, "yuv420p", "nv21"}, size, picture), twentyOne);

    Bytes tenBit;
    for (const uint8_t byte : picture) {
      const int sample = byte * 4 + byte % 4;
      tenBit.push_back(static_cast<uint8_t>(sample & 255));
      tenBit.push_back(static_cast<uint8_t>(sample >> 8));
    }
    EXPECT_EQ(Convert({3, "yuv420p10le", "yuv420p"}, size, tenBit), picture);
  }
}

// Rows of color begin anywhere: U of 322 pixels at 16n + 8, of 66 at every second byte.
TEST(ColorModels, WriteRowsThatBeginBesideVectors) {
  const test_support::LogCapture quiet;
  constexpr std::array<ModelRow, 5> kOthers = {{{23, "nv12", "yuv420p"},
                                                {23, "nv21", "yuv420p"},
                                                {23, "yuv444p", "yuv420p"},
                                                {23, "yuv422p10le", "nv12"},
                                                {23, "nv24", "yuv444p"}}};
  for (const ModelRow& row : kOthers) {
    for (const Size size : {Size{66, 50}, Size{322, 180}, Size{426, 240}, Size{854, 18}}) {
      const Bytes picture = SmoothPicture(row.input, size);
      Bytes padded(static_cast<size_t>(size.width) * static_cast<size_t>(size.height) * 4);
      std::copy(picture.begin(), picture.end(), padded.begin());
      const Bytes expected = BySwscale(row, size, picture, 0);
      const PoolOf pool(static_cast<int>(padded.size()));
      ColorFilter filter;
      MediaFormat format = ModelFormat(size, row.model, row.input, row.output);
      ASSERT_EQ(filter.Configure(format), 0);
      // The second picture finds the memory of the first.
      for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Filtered(filter, padded, static_cast<int>(expected.size())), expected)
            << row.input << " " << size.width;
      }
    }
  }
}

// FFmpeg's rows of color are one byte longer than a quarter of 66 or 426 pixels.
TEST(ColorModels, ReadQuartersOfAnyWidthAsFFmpegLaysThemOut) {
  const test_support::LogCapture quiet;
  const ModelRow row = {2, "yuv411p", "yuv420p"};
  for (const Size size : {Size{66, 50}, Size{426, 240}}) {
    const Bytes picture = SmoothPicture(row.input, size);
    const Bytes expected = BySwscale(row, size, picture, 0);
    const PoolOf pool(static_cast<int>(expected.size()));
    MediaFormat format = ModelFormat(size, row.model, row.input, row.output);
    format.SetInt32("true-layout", 1);
    const std::unique_ptr<MediaFilter> filter(CreateColorFilter(format));
    ASSERT_NE(filter, nullptr);
    EXPECT_EQ(Filtered(*filter, picture, static_cast<int>(expected.size())), expected);
  }
}

TEST(ColorModels, LeaveQuartersToTheFastConversionIfItServes) {
  for (const auto& [width, isTrue, model] :
       {std::tuple(64, 1, 2), std::tuple(66, 0, 2), std::tuple(66, 1, 23)}) {
    const test_support::LogCapture log;
    MediaFormat format = ModelFormat({width, 50}, 1, "yuv411p", "yuv420p");
    format.SetInt32("true-layout", isTrue);
    const std::unique_ptr<MediaFilter> filter(CreateColorFilter(format));
    EXPECT_TRUE(log.Has(kLogInfo, kTag, "color convert model:" + std::to_string(model))) << width;
  }
}

TEST(ColorModels, RoundChromaRowsOfOddWidthsDown) {
  const test_support::LogCapture quiet;
  // 5 x 2: luma 10 bytes, then chroma rows of 2 bytes, of which U has 2 and V the 2 after them.
  const Bytes picture = {9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 1, 2, 3, 4, 0};
  const Bytes out = Convert({9, "yuv420p", "nv12"}, {5, 2}, picture);
  ASSERT_EQ(out.size(), 15U);
  EXPECT_EQ(Bytes(out.begin() + 10, out.begin() + 14), (Bytes{1, 3, 2, 4}));
}

TEST(ColorFilter, StaysInsideItsBuffersInEveryModelAndShape) {
  const test_support::LogCapture quiet;
  for (const ModelRow& row : kRows) {
    for (const Size size : Shapes()) {
      const int bytes = FrameSize(size.width, size.height, row.input);
      const PoolOf pool(FrameSize(size.width, size.height, row.output));
      // FFmpeg's own layout of an odd picture may be larger than the packed one.
      const int own =
          av_image_get_buffer_size(av_get_pix_fmt(row.input), size.width, size.height, 1);
      const GuardedBytes source(std::max(bytes, row.model < 16 ? 0 : own) + size.width + 64, 2);
      ColorFilter last;
      MediaFormat format = ModelFormat(size, row.model, row.input, row.output);
      ASSERT_EQ(last.Configure(format), 0);
      MediaBuffer* const buffer = last.Process(source.Data());
      ASSERT_NE(buffer, nullptr) << row.model;
      MediaBufferPool::Instance()->Give(buffer);
      AppendFilter(&last, new Recorder);
      EXPECT_EQ(last.Process(source.Data()), nullptr);
    }
  }
}

TEST(ColorFilter, PassesThePictureItselfOnInModelOne) {
  ColorFilter filter;
  MediaFormat format = ModelFormat({2, 2}, 1, "bgra", "bgra");
  ASSERT_EQ(filter.Configure(format), 0);
  auto* const end = new Recorder;
  MediaBuffer answer(1);
  end->answer = &answer;
  AppendFilter(&filter, end);
  Bytes picture(16 + 66);
  EXPECT_EQ(filter.Process(picture.data()), &answer);
  EXPECT_EQ(end->seen, picture.data());
}

TEST(ColorFilter, WritesIntoItsOwnBufferInFrontOfAnotherFilter) {
  ColorFilter filter;
  MediaFormat format = ModelFormat({2, 1}, 8, "bgra", "rgba");
  ASSERT_EQ(filter.Configure(format), 0);
  auto* const end = new Recorder;
  AppendFilter(&filter, end);
  Bytes picture = {1, 2, 3, 4, 5, 6, 7, 8};
  EXPECT_EQ(filter.Process(picture.data()), nullptr);
  ASSERT_NE(end->seen, picture.data());
  EXPECT_EQ(Bytes(end->seen, end->seen + 8), (Bytes{3, 2, 1, 4, 7, 6, 5, 8}));
}

TEST(ColorFilter, HasNoWorkingBufferInModelsElevenAndTwelve) {
  for (const int model : {11, 12}) {
    ColorFilter filter;
    MediaFormat format = ModelFormat({4, 4}, model, "yuv420p", "bgra");
    ASSERT_EQ(filter.Configure(format), 0);
    auto* const end = new Recorder;
    AppendFilter(&filter, end);
    Bytes picture(24 + 68);
    filter.Process(picture.data());
    EXPECT_EQ(end->calls, 1);
    EXPECT_EQ(end->seen, nullptr);
  }
}

TEST(ColorFilter, GivesNothingWithoutAFreeBuffer) {
  MediaBufferPool::Instance()->Reset();
  ColorFilter filter;
  MediaFormat format = ModelFormat({2, 2}, 8, "bgra", "rgba");
  ASSERT_EQ(filter.Configure(format), 0);
  Bytes picture(16 + 66, 3);
  EXPECT_EQ(filter.Process(picture.data()), nullptr);
  EXPECT_EQ(picture, Bytes(16 + 66, 3));
}

TEST(ColorFilter, NamesTheKeyThatIsMissing) {
  const test_support::LogCapture log;
  MediaFormat format = FormatOf({4, 4});
  EXPECT_EQ(ColorFilter().Configure(format), -1);
  EXPECT_TRUE(log.Has(kLogError, kTag, "not set color convert model"));
  format.SetInt32("color-convert-model", 8);
  EXPECT_EQ(ColorFilter().Configure(format), -1);
  EXPECT_TRUE(log.Has(kLogError, kTag, "not set input color format"));
  format.SetString("input-color-format", "bgra");
  EXPECT_EQ(ColorFilter().Configure(format), -1);
  EXPECT_TRUE(log.Has(kLogError, kTag, "not set output color format"));
  format.SetString("output-color-format", "rgba");
  EXPECT_EQ(ColorFilter().Configure(format), 0);
  EXPECT_TRUE(log.Has(kLogInfo, kTag, "color convert model:8"));
}

TEST(ColorFilter, RefusesModelsOutsideTheTable) {
  for (const int model : {0, 24, -1}) {
    const test_support::LogCapture log;
    MediaFormat format = ModelFormat({4, 4}, model, "bgra", "rgba");
    EXPECT_EQ(ColorFilter().Configure(format), -1);
    EXPECT_TRUE(log.Has(kLogError, kTag, "Invalid color convert model:" + std::to_string(model)));
  }
}

TEST(ColorFilter, SurvivesNamesThatFFmpegDoesNotKnow) {
  const PoolOf pool(64);
  const test_support::LogCapture log;
  MediaFormat unknownOutput = ModelFormat({4, 4}, 23, "rgba", "17");
  EXPECT_EQ(ColorFilter().Configure(unknownOutput), -1);
  ColorFilter filter;
  MediaFormat unknownInput = ModelFormat({4, 4}, 23, "yuv420psp", "rgba");
  ASSERT_EQ(filter.Configure(unknownInput), 0);
  Bytes picture(64 + 68);
  MediaBuffer* const buffer = filter.Process(picture.data());
  EXPECT_NE(buffer, nullptr);
  MediaBufferPool::Instance()->Give(buffer);
  EXPECT_TRUE(log.Has(kLogError, kTag, "sws_getContext falied"));
}

TEST(ColorFilter, GivesNoBufferThatIsTooSmallForTheEncodersLayout) {
  // Eight bytes a pixel, of which the size by the name counts four.
  MediaFormat format = ModelFormat({64, 64}, 1, "rgba64le", "rgba64le");
  ColorFilter filter;
  ASSERT_EQ(filter.Configure(format), 0);
  Bytes picture(64 * 64 * 8);
  const PoolOf pool(64 * 64 * 4);
  EXPECT_EQ(filter.Process(picture.data()), nullptr);
  MediaBufferPool::Instance()->RefillVideo(64 * 64 * 8);
  MediaBuffer* const buffer = filter.Process(picture.data());
  ASSERT_NE(buffer, nullptr);
  EXPECT_EQ(buffer->Capacity(), 64 * 64 * 8);
  MediaBufferPool::Instance()->Give(buffer);
}

TEST(ColorFilter, PacksTheRowsOfModelTwentyThreeWithoutPadding) {
  const test_support::LogCapture quiet;
  ColorFilter filter;
  MediaFormat format = ModelFormat({3, 2}, 23, "bgra", "bgr24");
  ASSERT_EQ(filter.Configure(format), 0);
  auto* const end = new Recorder;
  AppendFilter(&filter, end);
  Bytes picture(24 + 3 + 64);
  for (size_t i = 0; i < 24; ++i) picture[i] = static_cast<uint8_t>(10 * i);
  filter.Process(picture.data());
  ASSERT_NE(end->seen, nullptr);
  EXPECT_EQ(Bytes(end->seen, end->seen + 18), (Bytes{0, 10, 20, 40, 50, 60, 80, 90, 100, 120, 130,
                                                     140, 160, 170, 180, 200, 210, 220}));
}

TEST(ColorModelTable, HoldsTheBufferRules) {
  constexpr std::array<int, 24> kSixteenths = {0, 0,  12, 12, 12, 12, 12, 32, 32, 12, 12, 0,
                                               0, 12, 12, 12, 8,  8,  8,  8,  24, 8,  8,  0};
  for (int model = 1; model <= 23; ++model) {
    const ColorModel* const row = FindColorModel(model);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(RuleBytes(row->working, 8), kSixteenths[static_cast<size_t>(model)]) << model;
  }
  EXPECT_EQ(FindColorModel(23)->working, BufferRule::kAnyFormat);
}

// Rows of whole pairs of bytes, written down by hand.
TEST(ColorFilterBuffer, HasRowsOfEvenLengthInTheGeneralModel) {
  struct Row {
    const char* output;
    int64_t bytes;
  };
  for (const Row& row : {Row{"gray", 34 * 25}, Row{"rgb24", 100 * 25}, Row{"yuv444p", 3 * 34 * 25},
                         Row{"gray16le", 66 * 25}}) {
    MediaFormat format;
    format.SetInt32("width", 33);
    format.SetInt32("height", 25);
    format.SetInt32("color-convert-model", 23);
    format.SetString("input-color-format", "bgr24");
    format.SetString("output-color-format", row.output);
    ColorFilter filter;
    ASSERT_EQ(filter.Configure(format), 0) << row.output;
    EXPECT_EQ(filter.WorkingBytes(), row.bytes) << row.output;
  }
}

// A picture whose even rows of color are 60 and whose odd ones are 200; `rows` of color.
Bytes StripedColors(Size size, int colorBytes, int rows) {
  Bytes picture(static_cast<size_t>(size.width * size.height), 128);
  for (int plane = 0; plane < 2; ++plane) {
    for (int row = 0; row < rows; ++row) {
      picture.insert(picture.end(), static_cast<size_t>(colorBytes), row % 2 == 0 ? 60 : 200);
    }
  }
  return picture;
}

Bytes ConvertFields(const ModelRow& row, Size size, const char* order, const Bytes& picture) {
  const int bytes = FrameSize(size.width, size.height, row.output);
  const PoolOf pool(bytes);
  ColorFilter filter;
  MediaFormat format = ModelFormat(size, row.model, row.input, row.output);
  format.SetString("field-order", order);
  EXPECT_EQ(filter.Configure(format), 0);
  return Filtered(filter, picture, bytes);
}

TEST(ColorFilterFields, DoNotMixTheirColors) {
  constexpr Size kSize = {64, 48};
  struct Input {
    ModelRow row;
    int colorBytes;  // of a row
  };
  for (const Input& input : {Input{{23, "yuv422p", "yuv420p"}, 32},
                             {{23, "yuv444p", "yuv420p"}, 64},
                             {{2, "yuv411p", "yuv420p"}, 16}}) {
    const Bytes picture = StripedColors(kSize, input.colorBytes, kSize.height);
    const Bytes striped = StripedColors(kSize, kSize.width / 2, kSize.height / 2);
    for (const char* order : {"tt", "bb"}) {
      const Bytes out = ConvertFields(input.row, kSize, order, picture);
      ASSERT_EQ(out.size(), striped.size()) << input.row.input;
      for (size_t i = 0; i < out.size(); ++i) {
        ASSERT_NEAR(out[i], striped[i], 1) << input.row.input << " " << i;
      }
    }
    const Bytes mixed = ConvertFields(input.row, kSize, "progressive", picture);
    EXPECT_NEAR(mixed.back(), 130, 15) << input.row.input;
  }
}

TEST(ColorFilterFields, AreConvertedAsAPictureIfOneHasHalfARowOfColors) {
  constexpr Size kSize = {64, 46};
  const ModelRow row = {23, "yuv422p", "yuv420p"};
  const Bytes picture = Noise(int64_t{kSize.width} * kSize.height * 2);
  EXPECT_EQ(ConvertFields(row, kSize, "tt", picture), Convert(row, kSize, picture));
}

TEST(ColorFilterFields, AreOfNoConcernIfRowsOfColorStay) {
  constexpr Size kSize = {64, 48};
  const ModelRow row = {3, "yuv420p10le", "yuv420p"};
  const Bytes picture = Noise(int64_t{kSize.width} * kSize.height * 3);
  EXPECT_EQ(ConvertFields(row, kSize, "tt", picture), Convert(row, kSize, picture));
}

}  // namespace
}  // namespace codec
